#include "app/DesktopOpener.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

namespace lumvik {

void DesktopOpener::open(const QUrl &address, const std::function<void()> &failed) const {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (program.isEmpty()) {
        if (!QDesktopServices::openUrl(address))
            failed();
        return;
    }
    // The QProcess deletes itself only when its process has ended, because the destructor kills the
    // process, which may be the browser itself.
    auto *process = new QProcess;
    process->setProcessEnvironment(m_environment);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    // The process gets its own session, so that a signal from the terminal that ends Lumvik does
    // not end the browser.
    process->setChildProcessModifier([coreDumps = m_coreDumps] {
        ::setsid();
        coreDumps.restoreInChild();
    });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, failed](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         process->deleteLater();
                         failed();
                     });
    QObject::connect(process, &QProcess::finished, process,
                     [process, failed](int status, QProcess::ExitStatus) {
                         process->deleteLater();
                         if (status != 0)
                             failed();
                     });
    process->start(program, {address.toString(QUrl::FullyEncoded)});
}

} // namespace lumvik
