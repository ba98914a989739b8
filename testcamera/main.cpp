#include "testcamera/CameraServer.h"
#include "testcamera/CommandReader.h"

#include <QGuiApplication>

#include <glib-unix.h>

#include <csignal>
#include <cstdio>

namespace {

using namespace lumvik::test;

constexpr int exitCannotServe = 1;
constexpr int exitBadOptions = 2;

void printLine(const QString &line) {
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

void answerLine(const QString &line, CameraServer &server, GMainLoop *loop) {
    const auto command = parseCommand(line);
    const auto answer = command ? server.perform(*command)
                                : tl::expected<QString, QString>(tl::unexpected(command.error()));
    if (!answer)
        printLine(QStringLiteral("error ") + answer.error());
    else
        printLine(answer->isEmpty() ? QStringLiteral("ok") : QStringLiteral("ok ") + *answer);
    if (command && std::holds_alternative<CameraCommand::Quit>(*command))
        g_main_loop_quit(loop);
}

gboolean quitLoop(gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop *>(loop));
    return G_SOURCE_CONTINUE;
}

int serve(const CameraOptions &options) {
    auto server = CameraServer::start(options);
    if (!server) {
        std::fprintf(stderr, "lumvik-test-camera: cannot serve on %s:%d: %s\n",
                     qPrintable(options.address), options.port, qPrintable(server.error()));
        return exitCannotServe;
    }
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(
        g_main_loop_new(nullptr, FALSE), g_main_loop_unref);
    g_unix_signal_add(SIGTERM, quitLoop, loop.get());
    g_unix_signal_add(SIGINT, quitLoop, loop.get());
    const CommandReader reader([&](const QString &line) { answerLine(line, **server, loop.get()); },
                               [&] {
                                   if (options.exitWithStandardInput)
                                       g_main_loop_quit(loop.get());
                               });
    printLine(QStringLiteral("ready ") + (*server)->url());
    g_main_loop_run(loop.get());
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    // GLib provides the event loop, in which Qt's sockets take part.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::signal(SIGPIPE, SIG_IGN);
    const QGuiApplication application(argc, argv);
    gst_init(nullptr, nullptr);

    const auto options = parseOptions(QGuiApplication::arguments());
    if (!options) {
        std::fprintf(stderr, "lumvik-test-camera: %s\n", qPrintable(options.error()));
        return exitBadOptions;
    }
    if (options->showHelp) {
        printLine(optionsHelp());
        return 0;
    }
    return serve(*options);
}
