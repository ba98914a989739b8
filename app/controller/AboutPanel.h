#pragma once

#include <QDialog>

namespace lumvik {

/// The texts of the about panel.
struct AboutInformation {
    QString applicationName;
    QString applicationVersion; ///< The version for users, such as "1.4".
    QString version;            ///< The exact version, such as "Build 7".
    QString credits;
};

/// A small window with the program's icon, name, version and credits. It is not modal, and there is
/// at most one. Main thread only.
class AboutPanel final : public QDialog {
    Q_OBJECT

  public:
    explicit AboutPanel(const AboutInformation &about);

    /// Shows the panel, or brings the visible panel to the front. It stays above `viewer`, which
    /// may be null.
    void showAbove(QWindow *viewer);
};

} // namespace lumvik
