#pragma once

#include <QDialog>

namespace lumvik {

/// What an about panel says.
struct AboutInformation {
    QString applicationName;
    QString applicationVersion; ///< For users, such as "1.4".
    QString version;            ///< The exact one, such as "Build 7".
    QString credits;
};

/// A small window that tells which program this is: its icon, name and version, and who made it. It
/// blocks nothing, and there is one at most. Main thread only.
class AboutPanel final : public QDialog {
    Q_OBJECT

  public:
    explicit AboutPanel(const AboutInformation &about);

    /// Shows the panel in front of everything, above `viewer` if there is one, or brings it back
    /// there.
    void showAbove(QWindow *viewer);
};

} // namespace lumvik
