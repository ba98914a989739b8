#include "app/controller/MainMenu.h"

#include <QKeyEvent>
#include <QKeySequence>

namespace lumvik {

namespace {

/// Builds a menu item by item.
class MenuBuilder {
  public:
    explicit MenuBuilder(const QString &title) : m_menu(std::make_unique<QMenu>(title)) {}

    QAction *item(const QString &title, const std::function<void()> &action,
                  const QList<QKeySequence> &keys = {}) {
        QAction *item = m_menu->addAction(title);
        // performKeyEquivalent matches the keys, because Qt's shortcuts work only in windows that
        // consist of widgets.
        item->setShortcuts(keys);
        item->setEnabled(static_cast<bool>(action));
        if (action)
            QObject::connect(item, &QAction::triggered, item, action);
        return item;
    }

    /// The item is ticked while the setting is on.
    void setting(const QString &title, const MainMenuSetting &setting,
                 const QList<QKeySequence> &keys = {}) {
        QAction *added = item(title, nullptr, keys);
        added->setCheckable(true);
        added->setEnabled(static_cast<bool>(setting.set));
        if (!setting.set)
            return;
        added->setChecked(setting.isOn());
        // Other parts of the program change settings, too.
        QObject::connect(m_menu.get(), &QMenu::aboutToShow, added,
                         [added, setting] { added->setChecked(setting.isOn()); });
        QObject::connect(added, &QAction::triggered, added, [added, setting] {
            setting.set(!setting.isOn());
            added->setChecked(setting.isOn());
        });
    }

    /// The item has the title that `title` returns whenever the menu opens.
    void retitledItem(const std::function<QString()> &title, const QString &firstTitle,
                      const std::function<void()> &action, const QList<QKeySequence> &keys) {
        QAction *added = item(firstTitle, action, keys);
        if (title)
            QObject::connect(m_menu.get(), &QMenu::aboutToShow, added,
                             [added, title] { added->setText(title()); });
    }

    void separator() { m_menu->addSeparator(); }

    std::unique_ptr<QMenu> take() { return std::move(m_menu); }

  private:
    std::unique_ptr<QMenu> m_menu;
};

/// Returns the key of `event` in the form in which key equivalents are specified. A character such
/// as "?" already contains the effect of Shift, on every keyboard layout, so Shift is kept only for
/// letters and for keys without a character.
QKeySequence keyEquivalent(const QKeyEvent &event) {
    Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const int key = event.key();
    const bool isLetter = key >= Qt::Key_A && key <= Qt::Key_Z;
    const bool isSymbol = key > Qt::Key_Space && key <= Qt::Key_AsciiTilde && !isLetter;
    if (isSymbol)
        modifiers &= ~Qt::ShiftModifier;
    return QKeySequence(QKeyCombination(modifiers, static_cast<Qt::Key>(key)));
}

} // namespace

MainMenu::MainMenu(const MainMenuActions &actions) {
    MenuBuilder lumvik(QStringLiteral("Lumvik"));
    lumvik.item(QStringLiteral("Camera Addresses…"), actions.showCameraSettings,
                {QKeySequence(Qt::CTRL | Qt::Key_Comma)});
    lumvik.separator();
    lumvik.item(QStringLiteral("Check for Updates…"), actions.checkForUpdates);
    lumvik.separator();
    lumvik.item(QStringLiteral("Quit Lumvik"), actions.terminate,
                {QKeySequence(Qt::CTRL | Qt::Key_Q)});
    m_menus.push_back(lumvik.take());

    buildCameraMenu(actions);

    MenuBuilder view(QStringLiteral("View"));
    view.retitledItem(actions.focusAreaTitle, QStringLiteral("Focus on an Area"),
                      actions.toggleFocusArea, {QKeySequence(Qt::CTRL | Qt::Key_E)});
    view.setting(QStringLiteral("Remember the Area"), actions.remembersArea);
    view.separator();
    const auto zoom = [&actions](bool isLarger) {
        return actions.zoom
                   ? std::function<void()>([zoom = actions.zoom, isLarger] { zoom(isLarger); })
                   : std::function<void()>();
    };
    // Plus is a shifted key on some keyboards, where its key alone is the equals sign.
    view.item(QStringLiteral("Zoom In"), zoom(true),
              {QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    view.item(QStringLiteral("Zoom Out"), zoom(false), {QKeySequence(Qt::CTRL | Qt::Key_Minus)});
    view.item(QStringLiteral("Whole Picture"), actions.showWholePicture,
              {QKeySequence(Qt::CTRL | Qt::Key_0)});
    view.separator();
    view.item(QStringLiteral("Save Picture"), actions.savePicture,
              {QKeySequence(Qt::CTRL | Qt::Key_S)});
    view.item(QStringLiteral("Copy Picture"), actions.copyPicture,
              {QKeySequence(Qt::CTRL | Qt::Key_C)});
    view.separator();
    view.setting(QStringLiteral("Stream Details"), actions.showsDetails,
                 {QKeySequence(Qt::CTRL | Qt::Key_I)});
    view.item(QStringLiteral("Copy Diagnosis"), actions.copyDiagnosis);
    view.separator();
    view.setting(QStringLiteral("Stay on Top"), actions.staysOnTop);
    view.setting(QStringLiteral("Keep Screen On"), actions.keepsScreenOn);
    view.setting(QStringLiteral("Notify When the Picture Is Lost"), actions.notifiesOfLoss);
    m_menus.push_back(view.take());
    m_view = m_menus.back().get();

    MenuBuilder window(QStringLiteral("Window"));
    window.item(QStringLiteral("Close"), actions.performClose,
                {QKeySequence(Qt::CTRL | Qt::Key_W)});
    m_fullScreen =
        window.item(QStringLiteral("Enter Full Screen"), actions.toggleFullScreen,
                    {QKeySequence(Qt::Key_F11), QKeySequence(Qt::CTRL | Qt::META | Qt::Key_F)});
    m_menus.push_back(window.take());

    MenuBuilder help(QStringLiteral("Help"));
    help.item(QStringLiteral("Lumvik Help"), actions.openLumvikHelp,
              {QKeySequence(Qt::Key_F1), QKeySequence(Qt::CTRL | Qt::Key_Question)});
    help.item(QStringLiteral("Quick Help in Lumvik"), actions.showQuickHelp);
    help.separator();
    help.item(QStringLiteral("Send Feedback…"), actions.sendFeedback);
    help.item(QStringLiteral("About Lumvik"), actions.showAbout);
    m_menus.push_back(help.take());
}

void MainMenu::buildCameraMenu(const MainMenuActions &actions) {
    m_chooseCamera = actions.chooseCamera;
    m_shownCamera = actions.shownCamera;
    const auto step = [&actions](int by) {
        return actions.stepCamera
                   ? std::function<void()>([step = actions.stepCamera, by] { step(by); })
                   : std::function<void()>();
    };
    MenuBuilder camera(QStringLiteral("Camera"));
    camera.separator(); // the cameras are above it
    m_nextCamera =
        camera.item(QStringLiteral("Next Camera"), step(1), {QKeySequence(Qt::Key_PageDown)});
    m_previousCamera =
        camera.item(QStringLiteral("Previous Camera"), step(-1), {QKeySequence(Qt::Key_PageUp)});
    camera.separator();
    camera.item(QStringLiteral("Find Cameras…"), actions.findCameras);
    camera.separator();
    camera.setting(QStringLiteral("Start at Login"), actions.startsAtLogin);
    m_menus.push_back(camera.take());
    m_camera = m_menus.back().get();
    QObject::connect(m_camera, &QMenu::aboutToShow, m_camera, [this] { markShownCamera(); });
    setCameras({});
}

void MainMenu::setCameras(const QStringList &names) {
    constexpr int withKeys = 9;
    qDeleteAll(m_cameras);
    m_cameras.clear();
    QAction *separator = m_camera->actions().at(0);
    for (int index = 0; index < names.size(); ++index) {
        // In a menu, "&" would turn the next letter into an access key.
        auto *item = new QAction(
            QString(names.at(index)).replace(QLatin1Char('&'), QLatin1String("&&")), m_camera);
        item->setCheckable(true);
        item->setEnabled(static_cast<bool>(m_chooseCamera));
        if (index < withKeys)
            item->setShortcut(QKeySequence(Qt::Key_1 + index));
        QObject::connect(item, &QAction::triggered, item, [this, index] {
            m_chooseCamera(index);
            markShownCamera();
        });
        m_camera->insertAction(separator, item);
        m_cameras.append(item);
    }
    for (QAction *item : {m_nextCamera, m_previousCamera})
        item->setEnabled(names.size() > 1);
}

void MainMenu::markShownCamera() {
    for (int index = 0; index < m_cameras.size(); ++index)
        m_cameras.at(index)->setChecked(m_shownCamera && index == m_shownCamera());
}

QList<QMenu *> MainMenu::menus() const {
    QList<QMenu *> all;
    for (const auto &menu : m_menus)
        all.append(menu.get());
    return all;
}

bool MainMenu::performKeyEquivalent(const QKeyEvent &event, Scope scope) const {
    if (event.isAutoRepeat())
        return false;
    const QKeySequence pressed = keyEquivalent(event);
    for (const auto &menu : m_menus) {
        if (scope == Scope::programMenus && (menu.get() == m_view || menu.get() == m_camera))
            continue;
        for (QAction *item : menu->actions()) {
            if (item->isEnabled() && item->shortcuts().contains(pressed)) {
                item->trigger();
                return true;
            }
        }
    }
    return false;
}

void MainMenu::setIsFullScreen(bool isFullScreen) {
    m_fullScreen->setText(isFullScreen ? QStringLiteral("Exit Full Screen")
                                       : QStringLiteral("Enter Full Screen"));
}

} // namespace lumvik
