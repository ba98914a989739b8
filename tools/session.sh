# shellcheck shell=bash
# Functions shared by tools/demo, tools/screenshots and tools/check-package: a temporary folder, test cameras, a virtual
# screen, and an orderly end of all processes that were started. The scripts source this file from the project's root.

folder=$(mktemp -d)
started=()

finish() {
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    # The processes normally exit on SIGTERM. Those that have not exited after five seconds are killed.
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

# wait_for SECONDS WHAT COMMAND...: polls the command until it succeeds. Ends the script with an error if that takes
# longer than SECONDS or if the process that was started last has exited.
wait_for() {
    local deadline=$((SECONDS + $1)) what=$2 problem=
    shift 2
    until "$@"; do
        if [ "$SECONDS" -ge "$deadline" ]; then problem="Timed out while waiting for $what."; fi
        if ! kill -0 "${started[-1]}" 2>/dev/null; then
            problem="The process that was started last exited while the script waited for $what."
        fi
        if [ -n "$problem" ]; then
            say "$problem" >&2
            cat "$folder"/*.log >&2 || true
            exit 1
        fi
        sleep 0.1
    done
}

# build_programs FOLDER [PACKAGES]: installs missing packages and builds the program and the test camera in FOLDER.
# PACKAGES is an argument of tools/install-dependencies (default: demo).
build_programs() {
    say "Installing missing packages…"
    tools/install-dependencies "${2:-demo}"
    say "Building Lumvik and the test camera ($1)…"
    cmake --preset release -B "$1" -DLUMVIK_BUILD_TESTS=OFF -DLUMVIK_BUILD_BENCHMARKS=OFF >/dev/null
    cmake --build "$1" --target lumvik lumvik-test-camera
    programs=$1/bin
}

# start_camera ID NAME OPTIONS...: starts a test camera. `address ID` prints its address, and `tell ID COMMAND` gives
# it a command.
start_camera() {
    local log="$folder/$1.log" commands="$folder/$1.commands" name=$2
    shift 2
    mkfifo "$commands"
    QT_QPA_PLATFORM=offscreen "$programs/lumvik-test-camera" --port 0 --name "$name" "$@" \
        >"$log" 2>&1 <>"$commands" &
    started+=($!)
    wait_for 20 "the camera \"$name\"" grep -qs '^ready ' "$log"
    say "The camera \"$name\" serves $(address_of "$log")"
}
address_of() { sed -n 's/^ready //p' "$1"; }
tell() { echo "${*:2}" >"$folder/$1.commands"; }
address() { address_of "$folder/$1.log"; }

# Gives the viewer separate folders, so that the user's files are not touched.
use_own_folders() {
    export XDG_DATA_HOME=$folder/data XDG_CONFIG_HOME=$folder/config XDG_CACHE_HOME=$folder/cache
    # The user's own Lumvik may already have the name on the session bus.
    export LUMVIK_SESSION_BUS=no
    mkdir -p "$XDG_DATA_HOME/lumvik" "$XDG_CONFIG_HOME/lumvik"
    write_preferences
}
# write_preferences [LINE...]: writes new preferences. A recent date of the last check prevents an automatic update
# check.
write_preferences() {
    printf '%s\n' '[General]' "lastAutomaticUpdateCheck=$(date -u +%FT%TZ)" "$@" \
        >"$XDG_CONFIG_HOME/lumvik/lumvik.conf"
}

# start_screen WIDTH HEIGHT: starts a virtual screen with a window manager.
start_screen() {
    Xvfb -displayfd 3 -screen 0 "$1x$2x24" -nolisten tcp \
        3>"$folder/display" 2>"$folder/xvfb.log" >/dev/null &
    started+=($!)
    wait_for 20 "the screen" test -s "$folder/display"
    DISPLAY=":$(tr -d '\n' <"$folder/display")"
    export DISPLAY
    # Settings of the user's desktop must not affect the screenshots.
    unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP QT_QPA_PLATFORM QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE \
        QT_FONT_DPI QT_SCREEN_SCALE_FACTORS QT_AUTO_SCREEN_SCALE_FACTOR QT_SCALE_FACTOR_ROUNDING_POLICY
    export LC_ALL=C.UTF-8
    openbox >/dev/null 2>"$folder/openbox.log" &
    started+=($!)
    wait_for 20 "the window manager" has_window_manager
}
has_window_manager() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }
