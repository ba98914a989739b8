// The about panel, help and feedback.

#include "ControllerFixture.h"
#include "app/controller/AboutPanel.h"

#include <QApplication>
#include <QLabel>

namespace lumvik::test {
namespace {

class HelpTest : public ControllerFixture {
  protected:
    /// All about panels, visible or not.
    [[nodiscard]] static QList<AboutPanel *> aboutPanels() {
        QList<AboutPanel *> panels;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *panel = dynamic_cast<AboutPanel *>(widget))
                panels.append(panel);
        }
        return panels;
    }
    [[nodiscard]] QStringList aboutTexts() {
        delegate->showAbout();
        QStringList texts;
        if (aboutPanels().size() != 1) {
            ADD_FAILURE() << "there is no about panel, or more than one";
            return texts;
        }
        EXPECT_TRUE(aboutPanels().first()->isVisible());
        for (const QLabel *label : aboutPanels().first()->findChildren<QLabel *>()) {
            if (!label->text().isEmpty())
                texts.append(label->text());
        }
        return texts;
    }
    /// Triggers the menu item with this title.
    void choose(const QString &title) {
        for (const QMenu *menu : menus()) {
            for (QAction *item : menu->actions()) {
                if (item->text() == title) {
                    EXPECT_TRUE(item->isEnabled());
                    item->trigger();
                    return;
                }
            }
        }
        FAIL() << "the menu item does not exist";
    }
};

TEST_F(HelpTest, AboutPanelShowsVersionBuildAndMaker) {
    launch(threeCameras());
    EXPECT_EQ(aboutTexts(), (QStringList{u"Lumvik"_s, u"Version 1.5 (Build 7)"_s,
                                         u"A focused camera viewer by Tandrel."_s}));
}

TEST_F(HelpTest, AboutPanelShowsAnUnknownBuild) {
    installedVersion = {.version = u"1.5"_s, .build = {}};
    launch(threeCameras());
    EXPECT_TRUE(aboutTexts().contains(u"Version 1.5 (Build Unknown)"_s));
}

TEST_F(HelpTest, AboutPanelShowsAnUnknownVersion) {
    installedVersion = {};
    launch(threeCameras());
    EXPECT_TRUE(aboutTexts().contains(u"Version Unknown (Build Unknown)"_s));
}

TEST_F(HelpTest, AboutPanelIsCreatedOnceAndShownAgain) {
    launch(threeCameras());
    delegate->showAbout();
    ASSERT_EQ(aboutPanels().size(), 1);
    AboutPanel *panel = aboutPanels().first();
    delegate->showAbout();
    EXPECT_EQ(aboutPanels(), QList<AboutPanel *>{panel});
    panel->close();
    EXPECT_FALSE(panel->isVisible());
    delegate->showAbout();
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(HelpTest, HelpOpensThePageOnTheWebsite) {
    launch(threeCameras());
    delegate->openLumvikHelp();
    EXPECT_EQ(openedUrls, QList<QUrl>{QUrl(u"https://maker.example/lumvik/help.html"_s)});
}

TEST_F(HelpTest, HelpWithoutAValidHostDoesNothing) {
    for (const QString &host :
         {QString(), u"not a host"_s, u"a@b"_s, u"host/path"_s, u"host#x"_s, u"host?x"_s}) {
        webHost = host;
        launch(threeCameras());
        delegate->openLumvikHelp();
    }
    EXPECT_TRUE(openedUrls.isEmpty());
    EXPECT_TRUE(alerts.shown().isEmpty());
}

TEST_F(HelpTest, FeedbackOpensAMail) {
    launch(threeCameras());
    delegate->sendFeedback();
    ASSERT_EQ(openedUrls.size(), 1);
    EXPECT_EQ(openedUrls.first().toString(QUrl::FullyEncoded),
              u"mailto:feedback@maker.example?subject=Lumvik%20Feedback"_s);
}

TEST_F(HelpTest, FeedbackWithoutAnAddressDoesNothing) {
    feedbackAddress.clear();
    launch(threeCameras());
    delegate->sendFeedback();
    EXPECT_TRUE(openedUrls.isEmpty());
}

TEST_F(HelpTest, QuickHelpIsASheetWithFourParagraphs) {
    launch(threeCameras());
    delegate->showQuickHelp();
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(alerts.sheets(), 1);
    const Alert &help = alerts.shown().first();
    EXPECT_EQ(help.messageText, u"Quick Help in Lumvik"_s);
    EXPECT_EQ(help.style, Alert::Style::informational);
    EXPECT_EQ(help.buttons, QStringList(u"OK"_s));
    EXPECT_EQ(
        help.informativeText,
        u"Move the pointer over the camera to reveal the camera chooser, Stay on Top pin, "
        "area-selection button, and close button.\n\n"
        "Choose the area-selection button, then drag a square or rectangle around the part of the "
        "camera you want to see. The same button restores the original view.\n\n"
        "While an area is selected, right-click to show the entire camera temporarily and "
        "right-click again to return to the selection. Otherwise, right-click expands the viewer "
        "to "
        "the largest size that fits the available screen; right-click again to restore its "
        "previous "
        "size.\n\n"
        "Drag anywhere on the camera to move the window. Choose Lumvik \u2192 Camera "
        "Addresses\u2026 to add, edit, remove, or reorder cameras."_s);
}

TEST_F(HelpTest, AddressThatNoProgramOpensIsShownForCopying) {
    urlsCanBeOpened = false;
    launch(threeCameras());
    delegate->sendFeedback();
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_TRUE(alerts.shown().first().informativeText.contains(
        u"mailto:feedback@maker.example?subject=Lumvik%20Feedback"_s));
}

TEST_F(HelpTest, EveryItemOfTheMainMenuIsEnabledAndActs) {
    launch(threeCameras());
    for (const QMenu *menu : menus()) {
        for (const QAction *item : menu->actions())
            EXPECT_TRUE(item->isEnabled()) << qPrintable(item->text());
    }
    choose(u"Check for Updates…"_s);
    EXPECT_EQ(updates.begun(), 2);
    choose(u"Lumvik Help"_s);
    choose(u"Send Feedback…"_s);
    EXPECT_EQ(openedUrls.size(), 2);
    choose(u"Quick Help in Lumvik"_s);
    EXPECT_EQ(alerts.shown().size(), 1);
    choose(u"About Lumvik"_s);
    EXPECT_EQ(aboutPanels().size(), 1);
    choose(u"Camera Addresses…"_s);
    EXPECT_NE(access().settingsController(), nullptr);
}

} // namespace
} // namespace lumvik::test
