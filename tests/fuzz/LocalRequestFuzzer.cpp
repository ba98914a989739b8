// What other programs of the user can hand in: requests to a running instance, the command line and
// the window's frame in the preferences. The first byte chooses the reader.
#include "app/CommandLine.h"
#include "app/controller/LaunchRequest.h"
#include "fuzz/Fuzzing.h"
#include "window/WindowFrame.h"

#include <QRect>

using namespace lumvik;

namespace {

void readRequest(const QByteArray &line) {
    const auto request = decodeLaunchRequest(line);
    if (!request)
        return;
    const auto again = decodeLaunchRequest(encode(*request));
    test::require(again && *again == *request, "Nothing is lost by passing a request on.");
}

void readFrame(const QString &text) {
    const auto frame = frameFromString(text);
    if (!frame)
        return;
    const QRect screen(0, 0, 1920, 1080);
    const QRect shown = frameOnScreens(*frame, {screen});
    test::require(!shown.isEmpty() && shown.intersects(screen), "The window can be seen.");
    test::require(frameFromString(plainFrameString(shown)) == shown, "A frame can be saved.");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    QByteArrayView input = test::bytesOf(data, size);
    const int reader = test::takeByte(input) % 3;
    const QString text = QString::fromUtf8(input);
    if (reader == 0)
        readRequest(input.toByteArray());
    else if (reader == 1)
        readFrame(text);
    else
        (void)parseCommandLine(QStringList{QStringLiteral("lumvik")} + text.split(u'\n'),
                               QStringLiteral("0"));
    return 0;
}
