#include "AccessibilityFixture.h"

#include "Eventually.h"

#include <QJsonDocument>

namespace lumvik::test {

using namespace std::chrono_literals;

void AccessibilityFixture::SetUp() {
    ASSERT_NO_FATAL_FAILURE(EditorFixture::SetUp());
    bus = std::make_unique<AccessibilityBus>(desktop);
    if (!bus->isPossible())
        GTEST_SKIP() << "there is no dbus-daemon";
    ASSERT_TRUE(bus->start());

    // The cameras send only a few frames per second, because a busy viewer replies slowly to a
    // reader's many small queries.
    CameraSetup first;
    first.size = QSize(320, 180);
    first.framesPerSecond = 5;
    first.keyFrameInterval = 5;
    const CameraSetup second = first;
    first.user = QStringLiteral("viewer");
    first.password = password;
    const CameraProcess *front = startCamera(first);
    const CameraProcess *yard = startCamera(second);
    ASSERT_TRUE(front && yard);
    home.writeCameras({{QStringLiteral("Front & back"), front->url()},
                       {QStringLiteral("Yard"), yard->url()},
                       {QStringLiteral("Garage"), QStringLiteral("rtsp://127.0.0.1/none")}});
    viewerVariables = bus->viewerVariables();
}

void AccessibilityFixture::startViewerAndReader() {
    startViewerAndWaitForPicture();
    const qint64 program = viewer->process().processId();
    reader = std::make_unique<AccessibilityReader>(bus->environment());
    ASSERT_TRUE(reader->lookAt(program, ReaderMemory::none));
    ASSERT_TRUE(eventually(20s, [this] { return !wholeTree().isEmpty(); }));
}

void AccessibilityFixture::startRememberingReader() {
    // Qt reports that an object lost the focus only if Qt announced the object after a client began
    // to listen. Tab and Escape make Qt announce the window.
    keyboard.press(QStringLiteral("Tab"));
    keyboard.press(QStringLiteral("Escape"));
    ASSERT_TRUE(isAnnounced(QStringLiteral("object:state-changed:focused"), QStringLiteral("frame"),
                            QStringLiteral("Lumvik")));
    ASSERT_TRUE(eventually(10s, [this] { return !controlsAreVisible(); }));
    rememberingReader = std::make_unique<AccessibilityReader>(bus->environment());
    ASSERT_TRUE(rememberingReader->lookAt(viewer->process().processId(), ReaderMemory::remembers));
    ASSERT_FALSE(wholeTree(ReaderMemory::remembers).isEmpty());
}

QJsonObject AccessibilityFixture::find(const QString &role, const QString &name) const {
    const QJsonObject answer = reader->ask({QStringLiteral("find"), role, name});
    return answer.contains(QStringLiteral("error"))
               ? answer
               : answer.value(QStringLiteral("answer")).toObject();
}

QStringList AccessibilityFixture::states(const QString &role, const QString &name) const {
    const QJsonObject found = find(role, name);
    EXPECT_FALSE(found.contains(QStringLiteral("error")))
        << found.value(QStringLiteral("error")).toString().toStdString();
    return found.value(QStringLiteral("states")).toVariant().toStringList();
}

bool AccessibilityFixture::has(const QString &role, const QString &name,
                               const QString &state) const {
    return states(role, name).contains(state);
}

testing::AssertionResult AccessibilityFixture::comesToHave(const QString &role, const QString &name,
                                                           const QString &state,
                                                           bool expected) const {
    if (eventually(20s, [&] {
            const QJsonObject found = find(role, name);
            return !found.contains(QStringLiteral("error")) && has(role, name, state) == expected;
        }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << QJsonDocument(find(role, name)).toJson(QJsonDocument::Compact).toStdString();
}

void AccessibilityFixture::act(const QString &role, const QString &name, const QString &action) {
    const QJsonObject answer = reader->ask({QStringLiteral("act"), role, name, action});
    ASSERT_TRUE(answer.value(QStringLiteral("answer")).toBool())
        << QJsonDocument(answer).toJson(QJsonDocument::Compact).toStdString();
}

testing::AssertionResult AccessibilityFixture::isAnnounced(const QString &kind, const QString &role,
                                                           const QString &name, int detail) {
    QString seen;
    const bool told = eventually(20s, [&] {
        const QJsonArray events =
            reader->ask({QStringLiteral("events")}).value(QStringLiteral("answer")).toArray();
        for (const auto &event : events) {
            const QJsonArray parts = event.toArray();
            seen += QString::fromUtf8(QJsonDocument(parts).toJson(QJsonDocument::Compact));
            if (parts.at(0).toString() == kind && parts.at(1).toInt() == detail &&
                parts.at(2).toString() == role && parts.at(3).toString() == name)
                return true;
        }
        return false;
    });
    if (told)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "events: " << seen.toStdString();
}

void AccessibilityFixture::discardEvents() {
    (void)reader->ask({QStringLiteral("events")});
}

QString AccessibilityFixture::wholeTree(ReaderMemory memory) const {
    AccessibilityReader &asked = memory == ReaderMemory::none ? *reader : *rememberingReader;
    const QJsonObject answer = asked.ask({QStringLiteral("tree")});
    const QJsonObject tree = answer.value(QStringLiteral("answer")).toObject();
    return tree.isEmpty() ? QString()
                          : QString::fromUtf8(QJsonDocument(tree).toJson(QJsonDocument::Indented));
}

testing::AssertionResult AccessibilityFixture::cacheIsUpToDate() const {
    QString is;
    QString known;
    if (eventually(10s, [&] {
            is = wholeTree();
            known = wholeTree(ReaderMemory::remembers);
            return is == known;
        }))
        return testing::AssertionSuccess();
    const QStringList lines = is.split(u'\n');
    const QStringList knownLines = known.split(u'\n');
    qsizetype line = 0;
    while (line < lines.size() && lines.value(line) == knownLines.value(line))
        ++line;
    return testing::AssertionFailure()
           << "the program has\n"
           << lines.mid(qMax(0, line - 12), 24).join(u'\n').toStdString()
           << "\nbut the cache contains\n"
           << knownLines.mid(qMax(0, line - 12), 24).join(u'\n').toStdString();
}

} // namespace lumvik::test
