#pragma once

#include <array>
#include <string_view>

namespace lumvik {

/// The name and the value of a libmpv option or property.
struct PlayerSetting {
    const char *name;
    const char *value;
};

/// The options set between the creation and the initialisation of every player, in this order.
///
/// The player ignores the user's mpv configuration, scripts and profiles. The player shows no
/// controls of its own, takes no keyboard input and plays no audio. The player receives RTSP over
/// TCP, without a cache, and probes streams as briefly as possible (for 0.2 seconds at most), so
/// that a live picture appears quickly. "keep-open" keeps the last frame after a stream ends, and
/// "panscan" makes the picture fill the view.
inline constexpr std::array playerOptions{
    PlayerSetting{"config", "no"},
    PlayerSetting{"load-scripts", "no"},
    PlayerSetting{"load-stats-overlay", "no"},
    PlayerSetting{"load-osd-console", "no"},
    PlayerSetting{"load-auto-profiles", "no"},
    PlayerSetting{"ytdl", "no"},
    PlayerSetting{"osc", "no"},
    PlayerSetting{"input-default-bindings", "no"},
    PlayerSetting{"input-vo-keyboard", "no"},
    PlayerSetting{"audio", "no"},
    PlayerSetting{"hwdec", "auto-safe"},
    PlayerSetting{"vo", "libmpv"},
    PlayerSetting{"keepaspect", "yes"},
    PlayerSetting{"panscan", "1.0"},
    PlayerSetting{"keep-open", "yes"},
    PlayerSetting{"rtsp-transport", "tcp"},
    PlayerSetting{"cache", "no"},
    PlayerSetting{"demuxer-lavf-probe-info", "no"},
    PlayerSetting{"demuxer-lavf-analyzeduration", "0.2"},
};

/// Returns the value that `playerOptions` sets for the option `name`.
consteval const char *playerOption(std::string_view name) {
    for (const PlayerSetting &option : playerOptions) {
        if (option.name == name)
            return option.value;
    }
    throw "No such player option."; // turns a misspelt name into a compile-time error
}

/// The properties set right after the initialisation of every player. These settings keep the
/// latency of the picture low (see benchmarks/README.md for measurements).
inline constexpr std::array livePlaybackProperties{
    // Even without a cache, the engine would pause at the start to fill its buffer. The delay from
    // this pause would last as long as the stream, because there is no audio that the picture could
    // catch up with.
    PlayerSetting{"cache-pause", "no"},
    // Each decoding thread holds back one frame. On a machine with sixteen cores, the default
    // number of threads would add 0.6 seconds of latency. Before each load, the controller sets the
    // number that the camera needs, which is higher than 1 if one thread was too slow for it.
    PlayerSetting{"vd-lavc-threads", "1"},
    // Frames are shown as they arrive, regardless of their time stamps, so that the picture catches
    // up after a stall of the network.
    PlayerSetting{"untimed", "yes"},
    // By default the video output holds back one frame to measure the timing of the screen.
    PlayerSetting{"video-latency-hacks", "yes"},
    // By default "keep-open" pauses the player at the end of a stream. The player would stay paused
    // after a reload, and the next stream would freeze after its first frames.
    PlayerSetting{"keep-open-pause", "no"},
    // What the engine has read cannot be left out any more (see StreamBacklog). By default it reads
    // one second ahead of a decoder that is too slow. DecodingPace needs half a second.
    PlayerSetting{"demuxer-readahead-secs", "0.600000"},
    // Audio is not played, so cameras are not asked for it, and nothing but RTSP and its transports
    // may be opened, whatever the camera's description contains.
    PlayerSetting{"demuxer-lavf-o",
                  "allowed_media_types=video,protocol_whitelist=%16%rtsp,tcp,rtp,udp"},
};

/// Further properties of a player whose frames are drawn with OpenGL that the processor emulates.
inline constexpr std::array emulatedOpenGLProperties{
    // The simple scalers are the defaults of mpv 0.35. The defaults of newer versions look better,
    // but they look up weights in tables. Such look-ups are slow without a graphics card, and the
    // software OpenGL of Debian 13 (Mesa 25.0) often reads garbage from such tables, so that the
    // picture stays black.
    PlayerSetting{"scale", "bilinear"},
    PlayerSetting{"dscale", "bilinear"},
    PlayerSetting{"dither-depth", "no"},
};

/// Further properties of a player whose frames are drawn without OpenGL.
inline constexpr std::array softwareRendererProperties{
    // Frames are rotated when they are drawn. libmpv 0.35 ends the process when it is to draw a
    // frame that is rotated by a quarter turn without OpenGL.
    PlayerSetting{"video-rotate", "no"},
};

} // namespace lumvik
