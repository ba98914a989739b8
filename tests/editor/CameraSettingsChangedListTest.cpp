// Tests of saving a list that another program or machine has changed since it was loaded.

#include "CameraSettingsFixture.h"

namespace lumvik {
namespace {

using namespace test;

enum Answer { reloadList, saveAnyway, cancelSaving };

class ChangedElsewhere : public CameraSettings {
  protected:
    /// Opens the editor on a stored list, edits it, and lets another program store another list.
    void SetUp() override {
        ASSERT_TRUE(keeper.save(loaded));
        open(loaded);
        press(window().removeButton);
        ASSERT_EQ(draft(), edited);
        ASSERT_TRUE(CameraConfigurationStore(storage).save(others));
    }
    [[nodiscard]] CameraList stored() const { return store.load().value_or(CameraList()); }
    void saveAndAnswer(Answer answer) {
        alerts.setAnswer(answer);
        press(window().saveButton);
    }

    const CameraList loaded = camerasNamed({u"a"_s, u"b"_s});
    const CameraList edited = camerasNamed({u"b"_s});
    const CameraList others = camerasNamed({u"x"_s, u"y"_s, u"z"_s});
};

TEST_F(ChangedElsewhere, IsReportedWithThreeChoices) {
    saveAndAnswer(cancelSaving);
    ASSERT_EQ(alerts.shown().size(), 1);
    EXPECT_EQ(alerts.shown().first().messageText, u"The camera list was changed elsewhere."_s);
    EXPECT_EQ(alerts.shown().first().buttons,
              (QStringList{u"Reload"_s, u"Save Anyway"_s, u"Cancel"_s}));
}

TEST_F(ChangedElsewhere, ReloadShowsTheOtherListInTheEditor) {
    saveAndAnswer(reloadList);
    EXPECT_EQ(reloads, 1);
    EXPECT_EQ(draft(), others);
    EXPECT_EQ(table().selectedRow(), 0);
    EXPECT_TRUE(window().removeButton->isEnabled());
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(stored(), others);
    press(window().saveButton);
    EXPECT_EQ(alerts.shown().size(), 1) << "the reloaded list is saved without a question";
    EXPECT_EQ(closings, 1);
}

TEST_F(ChangedElsewhere, ReloadThatFailsIsReportedAndKeepsTheEdits) {
    const QString list = storage + u"/cameras.json"_s;
    alerts.setWhileOpen([this, list] { // the other list disappears while the alert is open
        QFile::remove(storage + u"/cameras.last-good.json"_s);
        putBytes(list, "damaged");
    });
    saveAndAnswer(reloadList);
    ASSERT_EQ(alerts.shown().size(), 2);
    EXPECT_EQ(alerts.shown().last().messageText, u"Could not reload cameras"_s);
    EXPECT_EQ(alerts.shown().last().informativeText, u"The file is not a JSON document."_s);
    EXPECT_EQ(draft(), edited);
    EXPECT_TRUE(window().isVisible());
}

TEST_F(ChangedElsewhere, SaveAnywayReplacesTheOtherList) {
    saveAndAnswer(saveAnyway);
    EXPECT_EQ(stored(), edited);
    EXPECT_EQ(closings, 1);
    EXPECT_EQ(reloads, 0);
}

TEST_F(ChangedElsewhere, SaveAnywayThatFailsIsReportedAndKeepsTheEdits) {
    alerts.setWhileOpen([this] {
        ASSERT_TRUE(QFile::remove(storage + u"/cameras.json"_s));
        ASSERT_TRUE(QDir().mkpath(storage + u"/cameras.json/in the way"_s));
        alerts.setWhileOpen(nullptr);
    });
    saveAndAnswer(saveAnyway);
    ASSERT_EQ(alerts.shown().size(), 2);
    EXPECT_EQ(alerts.shown().last().messageText, u"Could not save cameras"_s);
    EXPECT_EQ(draft(), edited);
    EXPECT_TRUE(window().isVisible());
}

TEST_F(ChangedElsewhere, CancelKeepsTheEditsAndTheOtherList) {
    saveAndAnswer(cancelSaving);
    EXPECT_EQ(draft(), edited);
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(closings, 0);
    EXPECT_EQ(reloads, 0);
    EXPECT_EQ(stored(), others);
    saveAndAnswer(cancelSaving);
    EXPECT_EQ(alerts.shown().size(), 2) << "the question is asked again";
    EXPECT_EQ(stored(), others);
}

TEST_F(ChangedElsewhere, EditorThatClosesDuringTheQuestionSavesNothing) {
    alerts.setWhileOpen([this] { editor->close(); });
    saveAndAnswer(saveAnyway);
    EXPECT_EQ(stored(), others);
    EXPECT_EQ(closings, 1);
}

} // namespace
} // namespace lumvik
