#pragma once

#include "platform/MainQueue.h"
#include "platform/SerialQueue.h"
#include "viewer/BriefNotice.h"

#include <QDateTime>
#include <QImage>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

namespace lumvik {

/// Saves the picture in a file or copies it to the clipboard, at the user's request, and says for a
/// moment what has happened. The file is written on another thread, so that the live picture goes
/// on.
///
/// The controller owns it. Main thread only. Its destruction waits for a file that is being
/// written.
class PictureExporter {
  public:
    /// The services that are used. All functions are called on the main thread.
    struct Environment {
        MainQueue &mainQueue;
        /// Returns the picture at the camera's own size and as it is seen, or a null image while
        /// there is none.
        std::function<QImage()> picture;
        /// Returns the name of the camera, without a password.
        std::function<QString()> camera;
        std::function<QDateTime()> currentDate; ///< In UTC.
        /// Returns the folder for pictures. It may not exist yet.
        std::function<QString()> folder;
        std::function<void(const QImage &)> copyToClipboard;
        /// Shows a folder to the user.
        std::function<void(const QString &folder)> showFolder;
        /// Tells the user that the picture could not be saved.
        std::function<void(const QString &reason)> savingFailed;
    };

    explicit PictureExporter(Environment environment);

    /// Creates the notice in the window's content. Returns its button.
    ViewerControl *createNotice(QQuickItem *content);
    void layOut(const QSizeF &content);

    void save();
    void copy();

  private:
    void wasSaved(const QString &folder);
    void say(const QString &text, std::function<void()> action = {});

    /// For how long the notice is shown, in seconds: long enough to reach its button.
    static constexpr double noticeDuration = 6;

    const Environment m_environment;
    QPointer<BriefNotice> m_notice;
    std::shared_ptr<WorkItem> m_hideNotice;
    /// Late results find it gone.
    std::shared_ptr<PictureExporter *> m_self = std::make_shared<PictureExporter *>(this);
    SerialQueue m_queue; // last, so that its thread has ended before the rest is destroyed
};

} // namespace lumvik
