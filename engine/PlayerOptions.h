#pragma once

#include <array>

namespace lumvik {

/// A name and a value, both as libmpv takes them.
struct PlayerSetting {
    const char *name;
    const char *value;
};

/// The options set between the creation and the initialisation of every player instance, in this
/// order. The player reads no configuration, scripts or profiles of the user's, shows no controls
/// of its own, takes no keyboard input, plays no audio, fetches RTSP over TCP, keeps no cache and
/// probes streams as briefly as possible, so that a live picture appears fast. "keep-open" keeps
/// the last frame after a stream ends, and "panscan" fills the view.
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

/// The properties set right after the initialisation of every player instance, so that the picture
/// is shown as soon as it arrives and stays so (the figures are in benchmarks/README.md).
inline constexpr std::array livePlaybackProperties{
    // Even without a cache the engine would stop to fill its buffer at the start, and what is once
    // late stays late: without sound nothing pulls the picture back.
    PlayerSetting{"cache-pause", "no"},
    // Each decoding thread holds back a frame: sixteen cores would cost 0.6 s.
    PlayerSetting{"vd-lavc-threads", "1"},
    // Frames are shown when they arrive, not when their time stamps say; after a standstill of the
    // network this is what lets the picture catch up.
    PlayerSetting{"untimed", "yes"},
    // Leaves out the frame that the output otherwise holds back to judge the display's timing.
    PlayerSetting{"video-latency-hacks", "yes"},
    // "keep-open" would turn the end of a stream into a pause that outlives the reload: the next
    // stream would freeze after its first frames.
    PlayerSetting{"keep-open-pause", "no"},
    // The plain ways to scale, which are 0.35's defaults. Those of newer engines look weights up in
    // tables: that costs more without a graphics card, and the software OpenGL of Debian 13 (Mesa
    // 25.0) often reads rubbish out of such tables, so that the picture stays black.
    PlayerSetting{"scale", "bilinear"},
    PlayerSetting{"dscale", "bilinear"},
    PlayerSetting{"dither-depth", "no"},
};

} // namespace lumvik
