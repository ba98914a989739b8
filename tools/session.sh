# shellcheck shell=bash
# What tools/demo and tools/screenshots have in common: a folder of their own, test cameras, a screen in memory,
# and an orderly end of everything that was started. Sourced by them, from the project's root.

folder=$(mktemp -d)
started=()

finish() {
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    # Everything here ends on a TERM; what does not is not waited for for ever.
    for _ in $(seq 50); do
        local left=no
        for pid in "${started[@]}"; do
            if kill -0 "$pid" 2>/dev/null; then left=yes; fi
        done
        [ "$left" = yes ] || break
        sleep 0.1
    done
    for pid in "${started[@]}"; do
        kill -KILL "$pid" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    rm -rf "$folder"
}
trap finish EXIT
trap 'exit 130' INT TERM HUP

say() { printf '%s\n' "$*"; }

# Polls a command until it succeeds: wait_for SECONDS WHAT COMMAND... Gives up, and ends everything, when that
# takes too long or what was started last has ended.
wait_for() {
    local deadline=$((SECONDS + $1)) what=$2 problem=
    shift 2
    until "$@"; do
        if [ "$SECONDS" -ge "$deadline" ]; then problem="There was no sign of $what in time."; fi
        if ! kill -0 "${started[-1]}" 2>/dev/null; then problem="It ended before there was $what."; fi
        if [ -n "$problem" ]; then
            say "$problem" >&2
            cat "$folder"/*.log >&2 || true
            exit 1
        fi
        sleep 0.1
    done
}

# Installs what is missing and builds the program and the test camera: build_programs FOLDER [PACKAGES], the
# latter as for tools/install-dependencies
build_programs() {
    say "Installing what is missing…"
    tools/install-dependencies "${2:-demo}"
    say "Building Lumvik and the test camera ($1)…"
    cmake --preset release -B "$1" -DLUMVIK_BUILD_TESTS=OFF -DLUMVIK_BUILD_BENCHMARKS=OFF >/dev/null
    cmake --build "$1" --target lumvik lumvik-test-camera
    programs=$1/bin
}

# start_camera ID NAME OPTIONS...
start_camera() {
    local log="$folder/$1.log" name=$2
    shift 2
    QT_QPA_PLATFORM=offscreen "$programs/lumvik-test-camera" --port 0 --name "$name" "$@" \
        >"$log" 2>&1 </dev/null &
    started+=($!)
    wait_for 20 "the camera \"$name\"" grep -qs '^ready ' "$log"
    say "The camera \"$name\" serves $(address_of "$log")"
}
address_of() { sed -n 's/^ready //p' "$1"; }
address() { address_of "$folder/$1.log"; }

# Gives the viewer folders of its own, so that the user's are left alone.
use_own_folders() {
    export XDG_DATA_HOME=$folder/data XDG_CONFIG_HOME=$folder/config XDG_CACHE_HOME=$folder/cache
    # The name on the session bus is that of the user's own Lumvik.
    export LUMVIK_SESSION_BUS=no
    mkdir -p "$XDG_DATA_HOME/lumvik" "$XDG_CONFIG_HOME/lumvik"
    write_preferences
}
# write_preferences [LINE...]: a fresh set. Updates count as looked for: no server is to be asked.
write_preferences() {
    printf '%s\n' '[General]' "lastAutomaticUpdateCheck=$(date -u +%FT%TZ)" "$@" \
        >"$XDG_CONFIG_HOME/lumvik/lumvik.conf"
}

# start_screen WIDTH HEIGHT: a screen in memory with a window manager.
start_screen() {
    Xvfb -displayfd 3 -screen 0 "$1x$2x24" -nolisten tcp \
        3>"$folder/display" 2>"$folder/xvfb.log" >/dev/null &
    started+=($!)
    wait_for 20 "the screen" test -s "$folder/display"
    DISPLAY=":$(tr -d '\n' <"$folder/display")"
    export DISPLAY
    # Nothing of the user's desktop is to be seen in pictures.
    unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP QT_QPA_PLATFORM QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE \
        QT_FONT_DPI QT_SCREEN_SCALE_FACTORS QT_AUTO_SCREEN_SCALE_FACTOR QT_SCALE_FACTOR_ROUNDING_POLICY
    export LC_ALL=C.UTF-8
    openbox >/dev/null 2>"$folder/openbox.log" &
    started+=($!)
    wait_for 20 "the window manager" has_window_manager
}
has_window_manager() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }
