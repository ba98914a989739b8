#include "ViewerFixture.h"

#include "ColourBars.h"
#include "Eventually.h"
#include "Pixels.h"

#include <QElapsedTimer>

#include <csignal>

namespace lumvik::test {

using namespace std::chrono_literals;

namespace {

// The layout of the viewer's controls, in points. `margin` is the distance from the top and the
// sides of the window's content.
constexpr int margin = 12;
constexpr int gap = 6;
constexpr QSize buttonSize(28, 24);
constexpr int leastPickerWidth = 140;

} // namespace

QRect ViewerControls::scaled(QRect points) const {
    return {points.topLeft() * m_scale, points.size() * m_scale};
}

QRect ViewerControls::button(int fromTheRight) const {
    const int right = m_size.width() / m_scale - margin - fromTheRight * (buttonSize.width() + gap);
    return scaled({QPoint(right - buttonSize.width(), margin), buttonSize});
}

QRect ViewerControls::picker() const {
    const int right = pin().left() / m_scale - gap;
    return scaled({right - leastPickerWidth, margin, leastPickerWidth, buttonSize.height()});
}

QRect ViewerControls::menuStrip() const {
    return scaled({margin, margin, leastPickerWidth, buttonSize.height()});
}

ViewerFixture::ViewerFixture(WindowManager windowManager, QSize screenSize)
    : desktop(windowManager, screenSize) {}

void ViewerFixture::SetUp() {
    ASSERT_TRUE(desktop.start());
    pointer.moveTo(desktop.area().bottomRight());
}

void ViewerFixture::TearDown() {
    if (HasFailure() && !desktop.display().isEmpty()) {
        const auto *info = testing::UnitTest::GetInstance()->current_test_info();
        const QString name = QStringLiteral("%1.%2").arg(QLatin1String(info->test_suite_name()),
                                                         QLatin1String(info->name()));
        const QString path = screen.save(QString(name).replace(u'/', u'-'));
        if (!path.isEmpty())
            GTEST_LOG_(INFO) << "Screenshot of the failure: " << path.toStdString();
    }
    viewer.reset();
    whiteWindow.reset();
}

CameraProcess *ViewerFixture::startCamera(const CameraSetup &setup) {
    cameras.push_back(std::make_unique<CameraProcess>(setup));
    const auto started = cameras.back()->start();
    EXPECT_TRUE(started);
    return started ? cameras.back().get() : nullptr;
}

CameraProcess *ViewerFixture::startListedCamera(const CameraSetup &setup) {
    CameraProcess *camera = startCamera(setup);
    if (camera != nullptr)
        home.writeCameras({{setup.name, camera->url()}});
    return camera;
}

void ViewerFixture::startViewer(const ViewerProcess::Variables &variables) {
    viewer.reset();
    viewer = std::make_unique<ViewerProcess>(desktop, home, viewerVariables + variables);
    ASSERT_TRUE(viewer->start(viewerLauncher));
}

void ViewerFixture::startViewerAndWaitForPicture(const ViewerProcess::Variables &variables) {
    ASSERT_NO_FATAL_FAILURE(startViewer(variables));
    ASSERT_TRUE(viewer->waitForLiveVideo());
    ASSERT_TRUE(pictureFillsTheWindow());
}

void ViewerFixture::chooseMenuItem(int menu, int item) {
    keyboard.press(QStringLiteral("F10"));
    ASSERT_TRUE(eventually(20s, [this] {
        return !viewer->popUps().isEmpty() && desktop.x().keyboardIsGrabbed();
    })) << "the menu does not open";
    for (int n = 0; n < menu; ++n) {
        const QList<xcb_window_t> before = viewer->popUps();
        keyboard.press(QStringLiteral("Right"));
        ASSERT_TRUE(eventually(20s, [&] {
            return viewer->popUps() != before && !viewer->popUps().isEmpty() &&
                   desktop.x().keyboardIsGrabbed();
        }));
    }
    for (int n = 0; n < item; ++n)
        keyboard.press(QStringLiteral("Down"));
    keyboard.press(QStringLiteral("Return"));
}

testing::AssertionResult ViewerFixture::pictureFillsTheWindow() const {
    return screen.waitUntil(
        viewer->window(), [](const QImage &picture) { return showsColourBars(picture); }, 40s);
}

void ViewerFixture::endViewer() {
    viewer->process().sendSignal(SIGTERM);
    ASSERT_TRUE(viewer->exitsInOrder(20s));
}

QPoint ViewerFixture::onScreen(QPoint inWindow) const {
    return viewer->geometry().topLeft() + inWindow;
}

QPoint ViewerFixture::onScreen(QRect inWindow) const {
    return onScreen(inWindow.center());
}

ViewerControls ViewerFixture::controls() const {
    return ViewerControls(viewer->geometry().size(), scale);
}

void ViewerFixture::showControls() {
    pointer.moveTo(viewer->geometry().center());
    // A second motion is necessary if the first motion arrived before the window was ready.
    pointer.moveTo(viewer->geometry().center() + QPoint(2, 2));
    ASSERT_TRUE(eventually(20s, [this] { return controlsAreVisible(); }))
        << "the controls do not appear under the pointer";
}

bool ViewerFixture::controlsAreVisible() const {
    // The close button's rectangle contains both light and dark pixels only when the light symbol
    // is visible on its dark background.
    const QImage picture = screen.window(viewer->window());
    const QRect button = controls().close();
    return shareOfLightPixels(picture, button, 180) > 0.02 &&
           shareOfLightPixels(picture, button, 110) < 0.5;
}

void ViewerFixture::clickControl(QRect inWindow) {
    ASSERT_NO_FATAL_FAILURE(showControls());
    pointer.moveTo(onScreen(inWindow));
    pointer.click();
}

void ViewerFixture::movePointerAway() {
    pointer.moveTo(desktop.area().bottomRight());
}

void ViewerFixture::moveWindow(QPoint position) {
    xdotool(desktop, {QStringLiteral("windowmove"), QString::number(viewer->window()),
                      QString::number(position.x()), QString::number(position.y())});
}

void ViewerFixture::resizeWindow(QSize size) {
    xdotool(desktop, {QStringLiteral("windowsize"), QString::number(viewer->window()),
                      QString::number(size.width()), QString::number(size.height())});
}

testing::AssertionResult ViewerFixture::reachesFrame(QRect geometry,
                                                     std::chrono::milliseconds deadline) const {
    // The window must keep the geometry, because it may only pass through this geometry on the way
    // to another.
    constexpr int rest = 400;
    QElapsedTimer sinceThere;
    const bool rests = eventually(deadline, [&] {
        if (viewer->geometry() != geometry)
            sinceThere.invalidate();
        else if (!sinceThere.isValid())
            sinceThere.start();
        return sinceThere.isValid() && sinceThere.elapsed() >= rest;
    });
    if (rests)
        return testing::AssertionSuccess();
    const QRect is = viewer->geometry();
    return testing::AssertionFailure()
           << "the window is " << is.width() << "x" << is.height() << "+" << is.x() << "+" << is.y()
           << " instead of " << geometry.width() << "x" << geometry.height() << "+" << geometry.x()
           << "+" << geometry.y();
}

QString ViewerFixture::storedFrame() const {
    return home.preference(QStringLiteral("mainWindowFrame")).toString();
}

DesktopProgram *ViewerFixture::startWhiteWindow(QRect place) {
    whiteWindow = std::make_unique<DesktopProgram>(desktop, QStringLiteral("mpv"),
                                                   home.environment(desktop.environment()));
    const auto started = whiteWindow->process().start(
        QStringLiteral("mpv"), {QStringLiteral("--no-config"), QStringLiteral("--vo=x11"),
                                QStringLiteral("--no-border"), QStringLiteral("--title=Other"),
                                QStringLiteral("--osc=no"), QStringLiteral("--no-keepaspect"),
                                QStringLiteral("--geometry=%1x%2+%3+%4")
                                    .arg(place.width())
                                    .arg(place.height())
                                    .arg(place.x())
                                    .arg(place.y()),
                                QStringLiteral("av://lavfi:color=c=white:size=320x180:rate=5")});
    const auto shown = started ? whiteWindow->waitForWindow(QStringLiteral("Other"), 30s) : started;
    EXPECT_TRUE(shown);
    return shown ? whiteWindow.get() : nullptr;
}

testing::AssertionResult ViewerFixture::hasShape(QSize shape) const {
    const QSize size = viewer->geometry().size();
    const double width = static_cast<double>(size.height()) * shape.width() / shape.height();
    if (std::abs(width - size.width()) > 2) {
        return testing::AssertionFailure()
               << "the content of " << size.width() << "x" << size.height()
               << " does not have the aspect ratio of " << shape.width() << "x" << shape.height();
    }
    const SizeHints hints = viewer->normalHints();
    for (const auto &aspect : {hints.minimumAspect, hints.maximumAspect}) {
        if (!aspect)
            return testing::AssertionFailure() << "the size hints contain no aspect ratio";
        if (qint64{aspect->width()} * shape.height() != qint64{aspect->height()} * shape.width()) {
            return testing::AssertionFailure() << "the size hints contain the aspect ratio "
                                               << aspect->width() << ":" << aspect->height();
        }
    }
    return testing::AssertionSuccess();
}

} // namespace lumvik::test
