#include "testcamera/CameraOptions.h"

#include <QCommandLineParser>
#include <QHostAddress>

namespace lumvik::test {

namespace {

using Result = tl::expected<CameraOptions, QString>;

void declareOptions(QCommandLineParser &parser) {
    const auto option = [&parser](const char *name, const char *text, const char *value = "") {
        parser.addOption({QLatin1String(name), QLatin1String(text), QLatin1String(value)});
    };
    option("address", "Address to listen on (127.0.0.1).", "A");
    option("port", "Port to listen on; 0 takes any free one (8554).", "N");
    option("path", "Path of the stream (/front).", "P");
    option("name", "Name shown in the picture (Front).", "TEXT");
    option("size", "Size of the picture (1280x720).", "WxH");
    option("pixel-ratio", "Width to height of one pixel (1:1).", "N:M");
    option("fps", "Frames a second (25).", "N");
    option("gop", "Frames from one key frame to the next (25).", "N");
    option("stamp-fps", "Stamp the pictures as if there were N a second.", "N");
    option("codec", "h264 or h265 (h264).", "C");
    option("transport", "Transports that are accepted: any, tcp or udp (any).", "T");
    option("user", "User name that clients must give.", "U");
    option("password", "Password that clients must give.", "P");
    option("lock-after", "Refuse all logins after N wrong passwords in a row.", "N");
    option("lock-minutes", "Minutes for which they are refused (30).", "M");
    option("refuse-first", "Refuse all logins in the first seconds.", "SECONDS");
    option("onvif", "Port for ONVIF; 0 takes any free one (8080 if none is given).", "PORT");
    option("onvif-fault", "A fault of the ONVIF side; may be repeated. See below.", "FAULT");
    option("onvif-discovery-port", "Port to hear probes on (3702).", "N");
    option("clock", "Put the capture time into the picture for programs to read.");
    option("encoded-ahead", "Encode a loop of N seconds first, and then repeat it.", "N");
    option("exit-with-stdin", "End when standard input ends.");
    option("help", "Show this text.");
}

tl::expected<int, QString> parseNumber(const QString &option, const QString &text, int least,
                                       int most) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < least || number > most)
        return tl::unexpected(QStringLiteral("--%1 must be a number from %2 to %3, not \"%4\"")
                                  .arg(option)
                                  .arg(least)
                                  .arg(most)
                                  .arg(text));
    return number;
}

/// Reads the options that need no conversion, and checks them.
tl::expected<void, QString> readTexts(const QCommandLineParser &parser, CameraOptions &options) {
    const auto read = [&parser](const char *name, QString &target) {
        if (parser.isSet(QLatin1String(name)))
            target = parser.value(QLatin1String(name));
    };
    read("address", options.address);
    read("path", options.path);
    read("name", options.name);
    read("user", options.user);
    read("password", options.password);
    options.clockPattern = parser.isSet(QStringLiteral("clock"));
    options.exitWithStandardInput = parser.isSet(QStringLiteral("exit-with-stdin"));
    options.showHelp = parser.isSet(QStringLiteral("help"));
    if (QHostAddress(options.address).isNull())
        return tl::unexpected(
            QStringLiteral("--address must be a numeric address, not \"%1\"").arg(options.address));
    if (!options.path.startsWith(QLatin1Char('/')) || options.path.size() < 2)
        return tl::unexpected(
            QStringLiteral("--path must begin with a slash, not \"%1\"").arg(options.path));
    if (options.user.isEmpty() != options.password.isEmpty())
        return tl::unexpected(QStringLiteral("--user and --password go together"));
    return {};
}

tl::expected<void, QString> readTransport(const QCommandLineParser &parser,
                                          CameraOptions &options) {
    const QString transport = parser.value(QStringLiteral("transport"));
    if (transport == QLatin1String("tcp"))
        options.transport = StreamTransport::Tcp;
    else if (transport == QLatin1String("udp"))
        options.transport = StreamTransport::Udp;
    else if (!transport.isEmpty() && transport != QLatin1String("any"))
        return tl::unexpected(
            QStringLiteral("--transport must be any, tcp or udp, not \"%1\"").arg(transport));
    return {};
}

tl::expected<void, QString> readOnvif(const QCommandLineParser &parser, CameraOptions &options) {
    const QString port = QStringLiteral("onvif");
    const QString discoveryPort = QStringLiteral("onvif-discovery-port");
    if (parser.isSet(port)) {
        const auto number = parseNumber(port, parser.value(port), 0, 65535);
        if (!number)
            return tl::unexpected(number.error());
        options.onvif.port = static_cast<std::uint16_t>(*number);
    }
    if (parser.isSet(discoveryPort)) {
        const auto number = parseNumber(discoveryPort, parser.value(discoveryPort), 1, 65535);
        if (!number)
            return tl::unexpected(number.error());
        options.onvif.discoveryPort = static_cast<std::uint16_t>(*number);
    }
    const QStringList faults = parser.values(QStringLiteral("onvif-fault"));
    for (const QString &name : faults) {
        const auto fault = onvifFaultNamed(name);
        if (!fault)
            return tl::unexpected(QStringLiteral("--onvif-fault must be one of %1, not \"%2\"")
                                      .arg(onvifFaultNames().join(QLatin1String(", ")), name));
        options.onvif.faults.insert(*fault);
    }
    const bool needsOnvif = !faults.isEmpty() || parser.isSet(discoveryPort);
    if (needsOnvif && !options.onvif.port)
        return tl::unexpected(
            QStringLiteral("--onvif-fault and --onvif-discovery-port need --onvif"));
    return {};
}

/// Returns the arguments with a port behind an --onvif that has none. QCommandLineParser knows no
/// optional values.
QStringList withOnvifPort(QStringList arguments) {
    const qsizetype option = arguments.indexOf(QStringLiteral("--onvif"));
    if (option < 0)
        return arguments;
    const bool isLast = option + 1 == arguments.size();
    if (isLast || arguments[option + 1].startsWith(QLatin1String("--")))
        arguments.insert(option + 1, QStringLiteral("8080"));
    return arguments;
}

tl::expected<QSize, QString> parsePixelRatio(const QString &text) {
    const QStringList parts = text.split(QLatin1Char(':'));
    const QSize ratio(parts.value(0).toInt(), parts.value(1).toInt());
    if (parts.size() == 2 && ratio.width() > 0 && ratio.height() > 0 && ratio.width() <= 255 &&
        ratio.height() <= 255)
        return ratio;
    return tl::unexpected(QStringLiteral("--pixel-ratio must be like 4:3, not \"%1\"").arg(text));
}

tl::expected<void, QString> readNumbers(const QCommandLineParser &parser, CameraOptions &options) {
    struct Number {
        const char *name;
        int least;
        int most;
        int value;
    };
    Number port{"port", 0, 65535, options.port};
    Number framesPerSecond{"fps", 1, 120, options.framesPerSecond};
    Number keyFrameInterval{"gop", 1, 10000, options.keyFrameInterval};
    Number stampedRate{"stamp-fps", 1, 120, options.stampedRate};
    Number lockAfter{"lock-after", 1, 100, options.lockAfter};
    Number lockMinutes{"lock-minutes", 1, 1440, options.lockMinutes};
    Number refuseFirst{"refuse-first", 1, 86400, options.refuseFirst};
    Number encodedAhead{"encoded-ahead", 1, 60, options.encodedAhead};
    for (Number *number : {&port, &framesPerSecond, &keyFrameInterval, &stampedRate, &encodedAhead,
                           &lockAfter, &lockMinutes, &refuseFirst}) {
        const QString name = QLatin1String(number->name);
        if (!parser.isSet(name))
            continue;
        const auto value = parseNumber(name, parser.value(name), number->least, number->most);
        if (!value)
            return tl::unexpected(value.error());
        number->value = *value;
    }
    options.port = static_cast<std::uint16_t>(port.value);
    options.framesPerSecond = framesPerSecond.value;
    options.keyFrameInterval = keyFrameInterval.value;
    options.stampedRate = stampedRate.value;
    options.encodedAhead = encodedAhead.value;
    options.lockAfter = lockAfter.value;
    options.lockMinutes = lockMinutes.value;
    options.refuseFirst = refuseFirst.value;
    if ((options.lockAfter > 0 || options.refuseFirst > 0) && options.user.isEmpty())
        return tl::unexpected(
            QStringLiteral("--lock-after and --refuse-first need --user and --password"));
    return {};
}

} // namespace

Result parseOptions(const QStringList &arguments) {
    QCommandLineParser parser;
    declareOptions(parser);
    if (!parser.parse(withOnvifPort(arguments)))
        return tl::unexpected(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return tl::unexpected(
            QStringLiteral("Unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    CameraOptions options;
    if (const auto texts = readTexts(parser, options); !texts)
        return tl::unexpected(texts.error());
    if (const auto transport = readTransport(parser, options); !transport)
        return tl::unexpected(transport.error());
    if (const auto numbers = readNumbers(parser, options); !numbers)
        return tl::unexpected(numbers.error());
    if (const auto onvif = readOnvif(parser, options); !onvif)
        return tl::unexpected(onvif.error());
    if (parser.isSet(QStringLiteral("size"))) {
        const auto size = parseSize(parser.value(QStringLiteral("size")));
        if (!size)
            return tl::unexpected(size.error());
        options.size = *size;
    }
    if (parser.isSet(QStringLiteral("pixel-ratio"))) {
        const auto ratio = parsePixelRatio(parser.value(QStringLiteral("pixel-ratio")));
        if (!ratio)
            return tl::unexpected(ratio.error());
        options.pixelRatio = *ratio;
    }
    if (parser.isSet(QStringLiteral("codec"))) {
        const auto codec = parseCodec(parser.value(QStringLiteral("codec")));
        if (!codec)
            return tl::unexpected(codec.error());
        options.codec = *codec;
    }
    return options;
}

QString optionsHelp() {
    QCommandLineParser parser;
    declareOptions(parser);
    return parser.helpText() +
           QStringLiteral(
               "\nCommands on standard input, one a line: freeze, thaw, end, drop, drop "
               "reset,\nrefuse, accept, silent, speak, hangup, stay, size WxH, rotate "
               "0|90|180|270, "
               "codec h264|h265,\nthrottle BYTES_PER_SECOND, fps N, clock-jump SECONDS, clients, "
               "streams,\nrefusals, onvif, quit.\n\nFaults of the ONVIF side: ") +
           onvifFaultNames().join(QLatin1String(", ")) + QStringLiteral(".\n");
}

tl::expected<QSize, QString> parseSize(const QString &text) {
    const QStringList parts = text.split(QLatin1Char('x'));
    bool isNumber[2] = {false, false};
    if (parts.size() == 2) {
        const QSize size(parts[0].toInt(&isNumber[0]), parts[1].toInt(&isNumber[1]));
        const bool isEven = size.width() % 2 == 0 && size.height() % 2 == 0;
        if (isNumber[0] && isNumber[1] && isEven && size.width() >= 64 && size.height() >= 64 &&
            size.width() <= 4096 && size.height() <= 2304)
            return size;
    }
    return tl::unexpected(
        QStringLiteral("a size is even, from 64x64 to 4096x2304, not \"%1\"").arg(text));
}

tl::expected<VideoCodec, QString> parseCodec(const QString &text) {
    if (text == QLatin1String("h264"))
        return VideoCodec::H264;
    if (text == QLatin1String("h265"))
        return VideoCodec::H265;
    return tl::unexpected(QStringLiteral("a codec is h264 or h265, not \"%1\"").arg(text));
}

} // namespace lumvik::test
