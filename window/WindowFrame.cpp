#include "window/WindowFrame.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>

namespace lumvik {

namespace {

constexpr double largestSide = 32767;
/// How much of a frame must be visible, in points, for the user to be able to drag the window.
constexpr QSize leastOverlap{48, 24};

std::optional<QRect> plausibleFrame(const std::array<double, 4> &numbers) {
    for (const double number : numbers) {
        if (!std::isfinite(number) || std::abs(number) > largestSide)
            return std::nullopt;
    }
    const QRect frame(
        static_cast<int>(std::lround(numbers[0])), static_cast<int>(std::lround(numbers[1])),
        static_cast<int>(std::lround(numbers[2])), static_cast<int>(std::lround(numbers[3])));
    return frame.isEmpty() ? std::nullopt : std::optional(frame);
}

/// Returns the frame in four consecutive captures, starting with capture number `first`.
std::optional<QRect> frameFromCaptures(const QRegularExpressionMatch &match, int first = 1) {
    if (!match.hasMatch())
        return std::nullopt;
    std::array<double, 4> numbers{};
    for (int n = 0; n < 4; ++n)
        numbers.at(static_cast<std::size_t>(n)) = match.captured(first + n).toDouble();
    return plausibleFrame(numbers);
}

/// Makes a regular expression from `pattern`, in which each # matches and captures a number.
QRegularExpression numbersPattern(QString pattern) {
    pattern.replace(u'#', QStringLiteral("(-?\\d{1,9}(?:\\.\\d{1,9})?)"));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

/// Matches a text made by savedFrameString, with eight captures.
QRegularExpressionMatch matchSavedFrame(const QString &text) {
    static const QRegularExpression saved =
        numbersPattern(QStringLiteral("\\s*#\\s+#\\s+#\\s+#\\s+#\\s+#\\s+#\\s+#\\s*"));
    return saved.match(text);
}

} // namespace

QString savedFrameString(const QRect &frame, const QRect &screen) {
    return QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height())
        .arg(screen.x())
        .arg(screen.y())
        .arg(screen.width())
        .arg(screen.height());
}

QString plainFrameString(const QRect &frame) {
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height());
}

std::optional<QRect> frameFromString(const QString &text) {
    static const QRegularExpression plain = numbersPattern(QStringLiteral(
        "\\s*\\{\\{\\s*#\\s*,\\s*#\\s*\\}\\s*,\\s*\\{\\s*#\\s*,\\s*#\\s*\\}\\}\\s*"));
    if (auto frame = frameFromCaptures(matchSavedFrame(text)))
        return frame;
    return frameFromCaptures(plain.match(text));
}

std::optional<QRect> screenFromString(const QString &text) {
    return frameFromCaptures(matchSavedFrame(text), 5);
}

QRect screenOf(const QRect &frame, const QList<QRect> &screens) {
    const auto overlap = [&](const QRect &screen) {
        const QRect common = screen.intersected(frame);
        return static_cast<qint64>(common.width()) * common.height();
    };
    // std::max_element returns the first of equal elements, so the result for a frame that touches
    // no screen is the first screen.
    const auto most =
        std::max_element(screens.begin(), screens.end(),
                         [&](const QRect &a, const QRect &b) { return overlap(a) < overlap(b); });
    return most == screens.end() ? QRect() : *most;
}

QRect frameOnScreens(const QRect &frame, const QList<QRect> &screens, ShownPart part) {
    if (screens.isEmpty())
        return frame;
    const QRect screen = screenOf(frame, screens);
    const bool fits = frame.width() <= screen.width() && frame.height() <= screen.height();
    const QSize shown = screen.intersected(frame).size();
    const QSize needed =
        part == ShownPart::all ? frame.size() : leastOverlap.boundedTo(frame.size());
    const bool showsEnough = shown.width() >= needed.width() && shown.height() >= needed.height();
    if (fits && showsEnough)
        return frame;

    const QSize reduced = frame.size().scaled(screen.size(), Qt::KeepAspectRatio);
    QRect moved(frame.topLeft(), fits ? frame.size() : reduced.expandedTo({1, 1}));
    moved.moveLeft(std::clamp(frame.left(), screen.left(), screen.right() + 1 - moved.width()));
    moved.moveTop(std::clamp(frame.top(), screen.top(), screen.bottom() + 1 - moved.height()));
    return moved;
}

QRect centredFrame(const QSize &size, const QRect &area) {
    const bool fits = size.width() <= area.width() && size.height() <= area.height();
    const QSize fitted =
        fits ? size : size.scaled(area.size(), Qt::KeepAspectRatio).expandedTo({1, 1});
    return {area.x() + (area.width() - fitted.width()) / 2,
            area.y() + (area.height() - fitted.height()) / 2, fitted.width(), fitted.height()};
}

} // namespace lumvik
