#include "testcamera/CameraCommand.h"

#include "testcamera/CameraOptions.h"

#include <QHash>
#include <QStringList>

#include <cmath>

namespace lumvik::test {

namespace {

using namespace CameraCommand;
using Result = tl::expected<AnyCameraCommand, QString>;

Result parsePlain(const QString &word) {
    static const QHash<QString, AnyCameraCommand> commands{
        {QStringLiteral("freeze"), Freeze{}},     {QStringLiteral("thaw"), Thaw{}},
        {QStringLiteral("end"), End{}},           {QStringLiteral("drop"), Drop{}},
        {QStringLiteral("refuse"), Refuse{}},     {QStringLiteral("accept"), Accept{}},
        {QStringLiteral("silent"), Silent{}},     {QStringLiteral("speak"), Speak{}},
        {QStringLiteral("hangup"), HangUp{}},     {QStringLiteral("stay"), Stay{}},
        {QStringLiteral("clients"), Clients{}},   {QStringLiteral("streams"), Streams{}},
        {QStringLiteral("refusals"), Refusals{}}, {QStringLiteral("onvif"), Onvif{}},
        {QStringLiteral("quit"), Quit{}},
    };
    const auto found = commands.constFind(word);
    if (found == commands.constEnd())
        return tl::unexpected(QStringLiteral("unknown command \"%1\"").arg(word));
    return *found;
}

Result parseWithArgument(const QString &word, const QString &argument) {
    if (word == QLatin1String("drop") && argument == QLatin1String("reset"))
        return Drop{Drop::Manner::Reset};
    if (word == QLatin1String("size"))
        return parseSize(argument).map([](QSize size) { return AnyCameraCommand(Resize{size}); });
    if (word == QLatin1String("codec"))
        return parseCodec(argument).map(
            [](VideoCodec codec) { return AnyCameraCommand(UseCodec{codec}); });
    if (word == QLatin1String("throttle")) {
        bool isNumber = false;
        const int bytes = argument.toInt(&isNumber);
        if (isNumber && bytes >= 0)
            return Throttle{bytes};
        return tl::unexpected(QStringLiteral("throttle takes a number of bytes a second"));
    }
    if (word == QLatin1String("fps")) {
        bool isNumber = false;
        const double rate = argument.toDouble(&isNumber);
        if (isNumber && rate >= 0.1 && rate <= 120)
            return ChangeRate{rate};
        return tl::unexpected(QStringLiteral("fps takes a number from 0.1 to 120"));
    }
    if (word == QLatin1String("clock-jump")) {
        bool isNumber = false;
        const double seconds = argument.toDouble(&isNumber);
        if (isNumber && std::abs(seconds) <= 86400)
            return JumpClock{seconds};
        return tl::unexpected(QStringLiteral("clock-jump takes seconds, one day at most"));
    }
    if (word == QLatin1String("rotate")) {
        for (const int degrees : {0, 90, 180, 270}) {
            if (argument == QString::number(degrees))
                return Rotate{degrees};
        }
        return tl::unexpected(QStringLiteral("rotate takes 0, 90, 180 or 270"));
    }
    return tl::unexpected(QStringLiteral("unknown command \"%1 %2\"").arg(word, argument));
}

} // namespace

Result parseCommand(const QString &line) {
    const QStringList words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.size() == 1)
        return parsePlain(words[0]);
    if (words.size() == 2)
        return parseWithArgument(words[0], words[1]);
    return tl::unexpected(QStringLiteral("a command is one or two words"));
}

} // namespace lumvik::test
