#include "viewer/PictureNoticeLayout.h"

#include <algorithm>
#include <vector>

namespace lumvik {

namespace {

constexpr qreal margin = 12;
constexpr qreal lineGap = 6;
constexpr qreal buttonsGap = 16; // between the lines and the buttons
constexpr qreal buttonGap = 8;   // between the buttons
constexpr qreal widestText = 480;

/// The parts that are shown.
struct Parts {
    bool title = false;
    bool cause = false;
    bool next = false;
    bool tryNow = false;
    bool addresses = false;
};

class Layout {
  public:
    Layout(const PictureNoticeSizes &sizes, const Parts &parts)
        : m_sizes(sizes)
        , m_width(std::clamp(sizes.content.width() - 2 * margin, 0.0, widestText)) {
        addLine(parts.title, m_frames.title, sizes.titleHeight);
        addLine(parts.cause, m_frames.cause, sizes.causeHeight);
        addLine(parts.next, m_frames.next, sizes.nextHeight);
        addButtons(parts);
    }

    [[nodiscard]] qreal height() const { return m_bottom; }

    /// Returns the frames, moved to the middle of the content, or below `top` if they would begin
    /// above it.
    [[nodiscard]] PictureNoticeFrames placed(qreal top) const {
        const qreal y = std::max(top, (m_sizes.content.height() - m_bottom) / 2);
        PictureNoticeFrames frames = m_frames;
        for (QRectF *frame :
             {&frames.title, &frames.cause, &frames.next, &frames.tryNow, &frames.addresses}) {
            if (!frame->isNull())
                frame->translate(0, y);
        }
        return frames;
    }

  private:
    void addLine(bool isShown, QRectF &frame, const std::function<qreal(qreal)> &heightFor) {
        const qreal height = isShown && heightFor ? heightFor(m_width) : 0;
        if (height <= 0)
            return;
        const qreal top = m_bottom > 0 ? m_bottom + lineGap : 0;
        frame = QRectF((m_sizes.content.width() - m_width) / 2, top, m_width, height);
        m_bottom = frame.bottom();
    }

    void addButtons(const Parts &parts) {
        const QSizeF tryNow = parts.tryNow ? m_sizes.tryNow : QSizeF();
        const QSizeF addresses = parts.addresses ? m_sizes.addresses : QSizeF();
        const qreal top = m_bottom > 0 ? m_bottom + buttonsGap : 0;
        const qreal sideBySide = tryNow.width() + buttonGap + addresses.width();
        if (tryNow.isEmpty() || addresses.isEmpty() || sideBySide > m_width) {
            addButton(tryNow, top, m_frames.tryNow);
            addButton(addresses, tryNow.isEmpty() ? top : m_bottom + buttonGap, m_frames.addresses);
            return;
        }
        const qreal left = (m_sizes.content.width() - sideBySide) / 2;
        m_frames.tryNow = QRectF(QPointF(left, top), tryNow);
        m_frames.addresses = QRectF(QPointF(left + tryNow.width() + buttonGap, top), addresses);
        m_bottom = std::max(m_frames.tryNow.bottom(), m_frames.addresses.bottom());
    }

    void addButton(const QSizeF &size, qreal top, QRectF &frame) {
        if (size.isEmpty())
            return;
        const qreal width = std::min(size.width(), m_width);
        frame = QRectF((m_sizes.content.width() - width) / 2, top, width, size.height());
        m_bottom = frame.bottom();
    }

    const PictureNoticeSizes &m_sizes;
    qreal m_width;
    qreal m_bottom = 0; // of the parts so far
    PictureNoticeFrames m_frames;
};

} // namespace

PictureNoticeFrames pictureNoticeFrames(const PictureNoticeSizes &sizes) {
    const qreal top = sizes.controlsBottom + margin;
    const qreal room = std::max(sizes.content.height() - margin - top, 0.0);
    const bool isWide = sizes.content.width() >= narrowNoticeWidth;
    const bool hasCause = sizes.causeHeight && sizes.causeHeight(widestText) > 0;
    // A message without a cause, such as that of a start, consists of its title in any window.
    Parts parts{.title = isWide || !hasCause,
                .cause = true,
                .next = isWide,
                .tryNow = true,
                .addresses = true};
    std::vector<bool *> dispensable{&parts.next};
    if (hasCause)
        dispensable.push_back(&parts.title);
    dispensable.insert(dispensable.end(), {&parts.addresses, &parts.tryNow});
    for (bool *part : dispensable) {
        if (Layout(sizes, parts).height() <= room)
            break;
        *part = false;
    }
    PictureNoticeFrames frames = Layout(sizes, parts).placed(top);
    const qreal bottom = sizes.content.height() - margin;
    for (QRectF *frame : {&frames.title, &frames.cause}) {
        if (!frame->isNull())
            frame->setBottom(std::max(frame->top() + 1, std::min(frame->bottom(), bottom)));
    }
    return frames;
}

} // namespace lumvik
