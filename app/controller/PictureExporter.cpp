#include "app/controller/PictureExporter.h"

#include "platform/LumvikLog.h"
#include "platform/PictureFile.h"

#include <QDir>

#include <utility>

namespace lumvik {

PictureExporter::PictureExporter(Environment environment)
    : m_environment(std::move(environment))
    , m_queue(QLatin1String(LumvikLog::subsystem) + QStringLiteral(".pictures")) {}

ViewerControl *PictureExporter::createNotice(QQuickItem *content) {
    m_notice = new BriefNotice(content);
    return m_notice->button();
}

void PictureExporter::layOut(const QSizeF &content) {
    if (m_notice)
        m_notice->layOut(content);
}

void PictureExporter::save() {
    const QImage picture = m_environment.picture();
    if (picture.isNull())
        return say(QStringLiteral("There is no picture to save"));
    const QString folder = m_environment.folder();
    const QString name =
        pictureFileName(m_environment.camera(), m_environment.currentDate().toLocalTime());
    m_queue.async([self = std::weak_ptr(m_self), &mainQueue = m_environment.mainQueue, picture,
                   folder, name] {
        const auto saved = savePictureFile(picture, folder, name);
        mainQueue.async([self, folder, saved] {
            const auto exporter = self.lock();
            if (!exporter)
                return;
            if (saved)
                (*exporter)->wasSaved(folder);
            else
                (*exporter)->m_environment.savingFailed(saved.error());
        });
    });
}

void PictureExporter::wasSaved(const QString &folder) {
    say(QStringLiteral("Saved in %1").arg(QDir(folder).dirName()),
        [show = m_environment.showFolder, folder] { show(folder); });
}

void PictureExporter::copy() {
    const QImage picture = m_environment.picture();
    if (picture.isNull())
        return say(QStringLiteral("There is no picture to copy"));
    m_environment.copyToClipboard(picture);
    say(QStringLiteral("Picture copied"));
}

void PictureExporter::say(const QString &text, std::function<void()> action) {
    if (!m_notice)
        return;
    m_notice->show(text, std::move(action));
    if (m_hideNotice)
        m_hideNotice->cancel();
    m_hideNotice = m_environment.mainQueue.after(noticeDuration, [notice = m_notice] {
        if (notice)
            notice->hide();
    });
}

} // namespace lumvik
