#pragma once

#include "supervision/PictureNoticeText.h"
#include "viewer/SpokenItem.h"
#include "viewer/ViewerControl.h"

#include <QSizeF>

#include <array>
#include <functional>

namespace lumvik {

/// A button with a text, below the message about a missing picture.
class NoticeButton final : public ViewerControl {
    Q_OBJECT

  public:
    NoticeButton(const QString &text, QQuickItem *parent);

    /// Returns the size at which the whole text is visible, in points.
    [[nodiscard]] QSizeF naturalSize() const;

    void paint(QPainter *painter) override;

  protected:
    [[nodiscard]] OutlinedShape outlinedShape() const override;
    [[nodiscard]] bool showsLabel() const override { return true; }
};

/// The short text in the lower left corner of the picture that says whether the picture is live.
class NoticePill final : public SpokenItem {
    Q_OBJECT

  public:
    using SpokenItem::SpokenItem;

    /// `isLive` chooses the colour of the dot. An empty text hides the pill.
    void setText(const QString &text, bool isLive);
    [[nodiscard]] QString text() const { return m_text; }
    [[nodiscard]] bool isLive() const { return m_isLive; }
    /// Returns the size at which the whole text is visible, in points.
    [[nodiscard]] QSizeF naturalSize() const;

    void paint(QPainter *painter) override;

  private:
    QString m_text;
    bool m_isLive = false;
};

/// The lines in the middle of a window without a picture.
class NoticeMessage final : public SpokenItem {
    Q_OBJECT

  public:
    /// A line of the message, in the order from top to bottom.
    enum Line { title, cause, next, lineCount };

    using SpokenItem::SpokenItem;

    void setTexts(const std::array<QString, lineCount> &texts);
    /// Returns the lines, one below the other.
    [[nodiscard]] QString text() const;
    /// Returns the height of `line` when it is wrapped at `width`, in points; 0 for an empty line.
    [[nodiscard]] qreal heightForWidth(Line line, qreal width) const;
    /// Places the lines. `frames` are in the parent's coordinates; a null frame hides its line.
    void setFrames(const std::array<QRectF, lineCount> &frames);

    void paint(QPainter *painter) override;

  private:
    std::array<QString, lineCount> m_texts;
    std::array<QRectF, lineCount> m_frames;
};

/// What the window says about its picture: the pill in the corner, or the message with its buttons.
/// The items belong to the window's content and lie above the picture and below the controls. Only
/// the buttons receive clicks. Main thread only.
class PictureNotice {
  public:
    /// What the buttons do.
    struct Actions {
        std::function<void()> tryNow;
        std::function<void()> showAddresses;
    };

    PictureNotice(QQuickItem *content, Actions actions);

    /// Shows `text`. `isLive` is whether the picture is live.
    void show(const PictureNoticeText &text, bool isLive);
    /// Places the parts in a content of the size `content`. `controlsBottom` is the lower edge of
    /// the controls (all in points).
    void layOut(const QSizeF &content, qreal controlsBottom);

    [[nodiscard]] QList<ViewerControl *> buttons() const { return {m_tryNow, m_addresses}; }

  private:
    void placeParts();

    NoticePill *m_pill;
    NoticeMessage *m_message;
    NoticeButton *m_tryNow;
    NoticeButton *m_addresses;
    PictureNoticeText m_text;
    QSizeF m_content;
    qreal m_controlsBottom = 0;
};

} // namespace lumvik
