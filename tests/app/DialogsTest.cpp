// Tests of the dialogs that show alerts and choose files.

#include "app/MessageBoxAlerts.h"
#include "app/QtFilePanels.h"
#include "platform/LumvikLog.h"
#include "style/LumvikPalette.h"

#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

/// Runs `use` on the dialog of this type as soon as it is visible. Meanwhile, the caller that shows
/// the dialog is inside the dialog's own event loop.
template<typename Dialog>
void whenShown(const std::function<void(Dialog &)> &use) {
    auto *poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, use] {
        auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr || !dialog->isVisible())
            return;
        poll->deleteLater();
        poll->stop();
        use(*dialog);
    });
    poll->start(5);
}

Alert alertSaying(const QString &title, const QString &message) {
    return {.style = Alert::Style::warning,
            .messageText = title,
            .informativeText = message,
            .buttons = {u"Open Website"_s, u"Later"_s}};
}

class AlertBox : public testing::Test {
  protected:
    int run(const Alert &alert, const std::function<void(QMessageBox &)> &use) {
        whenShown<QMessageBox>(use);
        return alerts.runModal(alert);
    }
    MessageBoxAlerts alerts{[] { return nullptr; }};
};

TEST_F(AlertBox, ShowsItsTextsUnchanged) {
    // Alerts are never redacted, because the user has to read them.
    LumvikLog::protectAddresses({u"rtsp://u:2@a/"_s, u"rtsp://u:camera@a/"_s});
    for (const QString &text :
         {u"Enter a full RTSP address beginning with rtsp://."_s, u"Enter a name for camera 2."_s,
          u"It can be copied: https://maker.example/help.html"_s, u"<b>no markup</b>"_s}) {
        run(alertSaying(u"Check "_s + text, text), [&](QMessageBox &box) {
            EXPECT_EQ(box.text(), u"Check "_s + text);
            EXPECT_EQ(box.informativeText(), text);
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            box.reject();
        });
    }
}

TEST_F(AlertBox, ReturnsTheButtonThatWasPressed) {
    const Alert alert = alertSaying(u"a"_s, u"b"_s);
    for (const int wanted : {0, 1}) {
        EXPECT_EQ(run(alert,
                      [&](QMessageBox &box) {
                          for (QAbstractButton *button : box.buttons()) {
                              if (button->text() == alert.buttons.at(wanted))
                                  button->click();
                          }
                      }),
                  wanted);
    }
}

TEST_F(AlertBox, ReturnPressesTheFirstButtonAndEscapeTheLast) {
    const Alert alert = alertSaying(u"a"_s, u"b"_s);
    for (const auto &[key, answer] : {std::pair(Qt::Key_Return, 0), std::pair(Qt::Key_Escape, 1)}) {
        EXPECT_EQ(run(alert, [key = key](QMessageBox &box) { QTest::keyClick(&box, key); }),
                  answer);
    }
}

TEST_F(AlertBox, FirstButtonHasTheAccentColour) {
    run(alertSaying(u"a"_s, u"b"_s), [](QMessageBox &box) {
        auto *button = box.defaultButton();
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), u"Open Website"_s);
        const QImage picture = button->grab().toImage();
        EXPECT_EQ(picture.pixelColor(picture.width() / 8, picture.height() / 2),
                  LumvikPalette::mirel());
        box.reject();
    });
}

TEST_F(AlertBox, BelongsToTheActiveWindow) {
    QWindow window;
    window.create();
    MessageBoxAlerts above([&] { return &window; });
    whenShown<QMessageBox>([&](QMessageBox &box) {
        EXPECT_EQ(box.windowHandle()->transientParent(), &window);
        EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
        box.reject();
    });
    above.runModal(alertSaying(u"a"_s, u"b"_s));
}

/// Shows sheets that belong to a visible window.
class Sheet : public testing::Test {
  protected:
    void SetUp() override {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    [[nodiscard]] static QMessageBox *box() {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *box = qobject_cast<QMessageBox *>(widget); box != nullptr && box->isVisible())
                return box;
        }
        return nullptr;
    }
    void present() {
        alerts->present(alertSaying(u"a"_s, u"b"_s),
                        [this](int button) { answers.append(button); });
    }
    QWidget window;
    QList<int> answers;
    std::unique_ptr<MessageBoxAlerts> alerts =
        std::make_unique<MessageBoxAlerts>([this] { return window.windowHandle(); });
};

TEST_F(Sheet, BlocksOnlyItsWindowAndReportsTheButtonLater) {
    present();
    ASSERT_NE(box(), nullptr);
    EXPECT_EQ(box()->windowModality(), Qt::WindowModal);
    EXPECT_EQ(box()->windowHandle()->transientParent(), window.windowHandle());
    EXPECT_TRUE(answers.isEmpty()) << "the sheet does not block the caller";
    box()->defaultButton()->click();
    EXPECT_EQ(answers, QList<int>{0});
    present();
    QTest::keyClick(box(), Qt::Key_Escape);
    EXPECT_EQ(answers, (QList<int>{0, 1}));
    EXPECT_TRUE(QTest::qWaitFor([] { return box() == nullptr; }));
}

TEST_F(Sheet, ClosesWithItsWindow) {
    present();
    window.hide();
    EXPECT_TRUE(QTest::qWaitFor([] { return box() == nullptr; }));
    EXPECT_EQ(answers, QList<int>{1});
}

TEST_F(Sheet, ReportsOneButtonEvenIfItsWindowIsHiddenAtTheSameTime) {
    present();
    box()->defaultButton()->click();
    window.hide();
    EXPECT_TRUE(QTest::qWaitFor([] { return box() == nullptr; }));
    EXPECT_EQ(answers, QList<int>{0});
}

TEST_F(Sheet, IsClosedWithoutAnAnswerWhenAlertsAreDestroyed) {
    present();
    present();
    alerts.reset();
    EXPECT_EQ(box(), nullptr);
    EXPECT_TRUE(answers.isEmpty());
}

TEST_F(AlertBox, PresentedWithoutAWindowRunsModally) {
    int answer = -1;
    whenShown<QMessageBox>([](QMessageBox &box) {
        EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
        box.defaultButton()->click();
    });
    alerts.present(alertSaying(u"a"_s, u"b"_s), [&](int button) { answer = button; });
    EXPECT_EQ(answer, 0);
}

class FilePanelDialog : public testing::Test {
  protected:
    std::optional<QString> open(const std::function<void(QFileDialog &)> &use) {
        whenShown<QFileDialog>(use);
        return panels.chooseFileToOpen(
            {.title = u"Import Camera List"_s, .prompt = u"Import"_s, .suggestedName = {}},
            nullptr);
    }
    std::optional<QString> save(const std::function<void(QFileDialog &)> &use) {
        whenShown<QFileDialog>(use);
        return panels.chooseFileToSave({.title = u"Export Camera List"_s,
                                        .prompt = u"Export"_s,
                                        .suggestedName = u"lumvik-cameras.json"_s},
                                       nullptr);
    }
    void put(const QString &name) const {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    static void answer(QFileDialog &dialog, const QString &path) {
        auto *name = dialog.findChild<QLineEdit *>(u"fileNameEdit"_s);
        // Typing deselects a file in the list, but only in a window that has the focus.
        dialog.findChild<QListView *>(u"listView"_s)->clearSelection();
        name->setText(path);
        QTest::keyClick(name, Qt::Key_Return);
    }

    QtFilePanels panels;
    QTemporaryDir folder;
};

TEST_F(FilePanelDialog, ImportChoosesOneJsonFile) {
    put(u"list.json"_s);
    const auto chosen = open([this](QFileDialog &dialog) {
        EXPECT_EQ(dialog.windowTitle(), u"Import Camera List"_s);
        EXPECT_EQ(dialog.labelText(QFileDialog::Accept), u"Import"_s);
        EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptOpen);
        EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
        EXPECT_EQ(dialog.nameFilters(), (QStringList{u"JSON (*.json)"_s, u"All files (*)"_s}));
        EXPECT_EQ(dialog.selectedNameFilter(), u"JSON (*.json)"_s);
        answer(dialog, folder.filePath(u"list.json"_s));
    });
    EXPECT_EQ(chosen, folder.filePath(u"list.json"_s));
}

TEST_F(FilePanelDialog, ImportChoosesAFileWithAnotherSuffix) {
    put(u"list.txt"_s);
    EXPECT_EQ(open([this](QFileDialog &dialog) {
                  dialog.selectNameFilter(u"All files (*)"_s);
                  answer(dialog, folder.filePath(u"list.txt"_s));
              }),
              folder.filePath(u"list.txt"_s));
}

TEST_F(FilePanelDialog, CancellingReturnsNothing) {
    EXPECT_EQ(open([](QFileDialog &dialog) { dialog.reject(); }), std::nullopt);
    EXPECT_EQ(save([](QFileDialog &dialog) { dialog.reject(); }), std::nullopt);
}

TEST_F(FilePanelDialog, ExportSuggestsAFileName) {
    const auto chosen = save([this](QFileDialog &dialog) {
        EXPECT_EQ(dialog.windowTitle(), u"Export Camera List"_s);
        EXPECT_EQ(dialog.labelText(QFileDialog::Accept), u"Export"_s);
        EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_EQ(dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->text(),
                  u"lumvik-cameras.json"_s);
        EXPECT_EQ(dialog.nameFilters(), QStringList(u"JSON (*.json)"_s));
        answer(dialog, folder.filePath(u"other.json"_s));
    });
    EXPECT_EQ(chosen, folder.filePath(u"other.json"_s));
}

TEST_F(FilePanelDialog, ExportedFileAlwaysHasTheSuffixOfJson) {
    for (const auto &[typed, completed] :
         {std::pair(u"mine"_s, u"mine.json"_s), std::pair(u"mine.txt"_s, u"mine.txt.json"_s),
          std::pair(u"mine.JSON"_s, u"mine.JSON"_s), std::pair(u"a.b c"_s, u"a.b c.json"_s)}) {
        EXPECT_EQ(save([this, typed = typed](QFileDialog &dialog) {
                      answer(dialog, folder.filePath(typed));
                  }),
                  folder.filePath(completed));
    }
}

/// A name that the user types, and the name of an existing file that this would replace.
struct TakenName {
    QString typed;
    QString taken;
};

class TakenNames : public FilePanelDialog, public testing::WithParamInterface<TakenName> {
  protected:
    void SetUp() override { put(GetParam().taken); }
    /// Types the name, and answers the question with `button`. If the answer is no, the panel opens
    /// again, and `next` is called with it.
    std::optional<QString> saveAndAnswer(QMessageBox::StandardButton button,
                                         const std::function<void(QFileDialog &)> &next) {
        return save([this, button, next](QFileDialog &dialog) {
            whenShown<QMessageBox>([this, button, next](QMessageBox &box) {
                ++questions;
                EXPECT_TRUE(box.text().contains(GetParam().taken));
                EXPECT_EQ(box.defaultButton(), box.button(QMessageBox::No));
                if (next)
                    whenShown<QFileDialog>(next);
                box.button(button)->click();
            });
            answer(dialog, folder.filePath(GetParam().typed));
        });
    }
    int questions = 0;
};

TEST_P(TakenNames, AreReplacedOnlyAfterAQuestion) {
    EXPECT_EQ(saveAndAnswer(QMessageBox::Yes, nullptr), folder.filePath(GetParam().taken));
    EXPECT_EQ(questions, 1);
}

TEST_P(TakenNames, CanBeChangedAfterTheQuestion) {
    EXPECT_EQ(saveAndAnswer(QMessageBox::No,
                            [this](QFileDialog &dialog) {
                                // The panel reads its folder in another thread.
                                const auto *list = dialog.findChild<QListView *>(u"listView"_s);
                                EXPECT_TRUE(QTest::qWaitFor(
                                    [list] { return list->selectionModel()->hasSelection(); }));
                                EXPECT_EQ(dialog.findChild<QLineEdit *>(u"fileNameEdit"_s)->text(),
                                          GetParam().taken);
                                answer(dialog, folder.filePath(u"other.json"_s));
                            }),
              folder.filePath(u"other.json"_s));
    EXPECT_EQ(saveAndAnswer(QMessageBox::No, [](QFileDialog &dialog) { dialog.reject(); }),
              std::nullopt);
    EXPECT_EQ(questions, 2);
}

INSTANTIATE_TEST_SUITE_P(All, TakenNames,
                         testing::Values(TakenName{u"mine"_s, u"mine.json"_s},
                                         TakenName{u"mine.json"_s, u"mine.json"_s},
                                         TakenName{u"mine.txt"_s, u"mine.txt.json"_s}));

TEST_F(FilePanelDialog, LinkWithAMissingTargetIsReplacedOnlyAfterAQuestion) {
    ASSERT_TRUE(QFile::link(folder.filePath(u"missing"_s), folder.filePath(u"link.json"_s)));
    int questions = 0;
    EXPECT_EQ(save([&](QFileDialog &dialog) {
                  whenShown<QMessageBox>([&](QMessageBox &box) {
                      ++questions;
                      box.button(QMessageBox::Yes)->click();
                  });
                  answer(dialog, folder.filePath(u"link.json"_s));
              }),
              folder.filePath(u"link.json"_s));
    EXPECT_EQ(questions, 1);
}

TEST_F(FilePanelDialog, QuestionClosesWithItsWindow) {
    put(u"mine.json"_s);
    auto window = std::make_unique<QWidget>();
    window->show();
    whenShown<QFileDialog>([&](QFileDialog &dialog) {
        whenShown<QMessageBox>([&](QMessageBox &) { window.reset(); });
        answer(dialog, folder.filePath(u"mine.json"_s));
    });
    EXPECT_EQ(panels.chooseFileToSave({.title = u"a"_s, .prompt = u"b"_s, .suggestedName = {}},
                                      window.get()),
              std::nullopt);
}

TEST_F(FilePanelDialog, ClosesWithItsWindow) {
    auto window = std::make_unique<QWidget>();
    window->show();
    whenShown<QFileDialog>([&](QFileDialog &) { window.reset(); });
    EXPECT_EQ(panels.chooseFileToOpen({.title = u"a"_s, .prompt = u"b"_s, .suggestedName = {}},
                                      window.get()),
              std::nullopt);
}

} // namespace
} // namespace lumvik
