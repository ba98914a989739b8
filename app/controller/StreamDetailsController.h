#pragma once

#include "engine/link/LinkFact.h"
#include "platform/MainQueue.h"
#include "supervision/DelayMeter.h"
#include "supervision/StreamDetails.h"
#include "viewer/StreamDetailsPanel.h"

#include <QDateTime>
#include <QList>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// Shows the details of the stream over the picture, and copies a diagnosis for the author of the
/// program. It counts how often the picture came back on this day, and measures the delay
/// between the arrival of a picture and the screen.
///
/// The controller owns it and tells it what happens to the stream. Main thread only.
class StreamDetailsController {
  public:
    /// The services that are used. All functions are called on the main thread.
    struct Environment {
        MainQueue &mainQueue;
        std::function<QDateTime()> currentDate; ///< In UTC.
        /// Returns what the controller knows. What is measured here is filled in afterwards. May
        /// ask the engine, which takes a moment.
        std::function<StreamDetails()> details;
        /// Returns the versions of the program and of what it uses.
        std::function<QList<StreamDetailsRow>()> versions;
        std::function<void(const QString &)> copyToClipboard;
    };

    explicit StreamDetailsController(Environment environment);

    /// Creates the panel in the window's content.
    void createPanel(QQuickItem *content);
    void layOut(const QSizeF &content, qreal controlsBottom);

    [[nodiscard]] bool isShown() const { return m_refresh != nullptr; }
    void setShown(bool isShown);
    /// Copies everything that helps the author of the program: the camera's name and host, but no
    /// path, no user name and no password.
    void copyDiagnosis() const;

    // ---- What has happened ----

    /// Another camera was chosen. Its first picture is not a recovery.
    void cameraWasChosen();
    /// A load has begun. What was measured of the previous stream is no longer needed.
    void loadHasBegun();
    void frameWasShown();
    void streamWasMeasured(const StreamMeasure &measure);
    /// An attempt to bring the picture back was scheduled for `reason`.
    void attemptWasScheduled(const QString &reason);

  private:
    [[nodiscard]] QList<StreamDetailsRow> rows() const;
    [[nodiscard]] bool measureIsCurrent() const;
    void refresh();

    const Environment m_environment;
    QPointer<StreamDetailsPanel> m_panel;
    std::unique_ptr<RepeatingTimer> m_refresh; // exists while the panel is shown
    DelayMeter m_delay;
    std::optional<StreamMeasure> m_measure;
    TimeStamp m_measuredAt = 0;
    QString m_interruption; // the reason of the first attempt since the last picture
    int m_recoveries = 0;   // on the day of the last one
    QDateTime m_lastRecoveryTime;
    QString m_lastRecovery;
};

} // namespace lumvik
