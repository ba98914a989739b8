#pragma once

#include "viewer/PictureNotice.h"
#include "viewer/SpokenItem.h"

#include <QSizeF>

namespace lumvik {

/// A line at the bottom of the picture that confirms what the user has just done, with a button if
/// there is more to do. Its owner hides it after a moment. Main thread only.
class BriefNotice final : public SpokenItem {
    Q_OBJECT

  public:
    /// The button belongs to `content`, beside the notice.
    explicit BriefNotice(QQuickItem *content);

    /// Shows `text`. Without `action`, there is no button.
    void show(const QString &text, std::function<void()> action = {});
    void hide();
    [[nodiscard]] QString text() const { return m_text; }
    /// Places the notice in a content of the size `content`, in points.
    void layOut(const QSizeF &content);

    /// The button "Show".
    [[nodiscard]] ViewerControl *button() const { return m_button; }

    void paint(QPainter *painter) override;

  private:
    void place();

    NoticeButton *m_button; // owned by the content, which also owns this notice
    QString m_text;
    bool m_hasAction = false;
    QSizeF m_content;
};

} // namespace lumvik
