#pragma once

#include "testcamera/VideoCodec.h"

#include <QSize>
#include <QString>

#include <tl/expected.hpp>
#include <variant>

namespace lumvik::test {

/// The commands that the test camera accepts on standard input.
namespace CameraCommand {

/// Connections stay open but frames stop.
struct Freeze {};
/// Frames continue with the present time.
struct Thaw {};
/// Every stream ends in an orderly way. Later clients are served.
struct End {};
/// Every connection is closed; later clients are served.
struct Drop {
    /// Orderly sends FIN, Reset sends RST.
    enum class Manner { Orderly, Reset };
    Manner manner = Manner::Orderly;
};
/// Connections are closed and new ones refused.
struct Refuse {};
/// Listens again, on the same port.
struct Accept {};
/// Connections are closed. New ones are accepted but never get a reply.
struct Silent {};
/// New connections are served again. Those accepted during the silence are closed.
struct Speak {};
/// Connections are closed. New ones are closed when they start to play, before the first picture.
struct HangUp {};
/// Clients that play are served again.
struct Stay {};
/// The picture has this size from the next frame on, for running clients too.
struct Resize {
    QSize size;
};
/// Players are told to turn the picture clockwise by 0, 90, 180 or 270 degrees.
struct Rotate {
    int degrees = 0;
};
/// The codec for later clients.
struct UseCodec {
    VideoCodec codec = VideoCodec::H264;
};
/// Asks how many connections there are.
struct Clients {};
/// Asks for the number of playing connections, their highest number at once, and the number of play
/// requests.
struct Streams {};
struct Quit {};

} // namespace CameraCommand

using AnyCameraCommand = std::variant<
    CameraCommand::Freeze, CameraCommand::Thaw, CameraCommand::End, CameraCommand::Drop,
    CameraCommand::Refuse, CameraCommand::Accept, CameraCommand::Silent, CameraCommand::Speak,
    CameraCommand::HangUp, CameraCommand::Stay, CameraCommand::Resize, CameraCommand::Rotate,
    CameraCommand::UseCodec, CameraCommand::Clients, CameraCommand::Streams, CameraCommand::Quit>;

/// Parses one line. The error describes what is wrong with it.
[[nodiscard]] tl::expected<AnyCameraCommand, QString> parseCommand(const QString &line);

} // namespace lumvik::test
