#pragma once

#include <QQuickPaintedItem>
#include <QString>
#include <QTimer>

#include <chrono>

namespace lumvik {

/// A painted item with a text that assistive technology reads: a part of the notice, or the stream
/// details. Main thread only.
class SpokenItem : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit SpokenItem(QQuickItem *parent);

    /// Sets the text for assistive technology. While the item is visible, the text changes at most
    /// once in `shortestSpokenTime`, so that a screen reader can finish; at once if the text that
    /// was spoken last is no longer true and would reassure the listener (`isUrgent`).
    void setSpokenText(const QString &text, bool isUrgent = false);
    [[nodiscard]] QString spokenText() const { return m_spokenText; }

    static constexpr std::chrono::seconds shortestSpokenTime{10};

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;

  private:
    void speak();

    QString m_newestText;
    QString m_spokenText;
    QTimer m_pause; // runs after a change of `m_spokenText`
};

} // namespace lumvik
