"""The compared programs: how to start each of them, and how to choose another camera in it."""

import datetime
import json
import os
import re
import shutil
import socket
import subprocess
import time

from .desktop import SCREEN, WINDOW
from .processes import Child, Failure, wait_until

X, Y, WIDTH, HEIGHT = WINDOW


class Program:
    """A program to be measured, which has one column in the table."""

    is_peer = True
    can_switch = False

    def __init__(self, label):
        self.label = label

    def is_available(self):
        return shutil.which(self.executable) is not None

    def cache(self, folder):
        """Returns the folder in which the program and its OpenGL library keep compiled shaders between runs."""
        return f"{folder}/{self.label}-cache"

    def has_run(self, folder):
        return os.path.exists(self.cache(folder))

    def environment(self, desktop, folder):
        os.makedirs(self.cache(folder), exist_ok=True)
        return dict(desktop.environment, XDG_CACHE_HOME=self.cache(folder))

    def start(self, desktop, folder, urls):
        """Starts the program with the first of `urls`. The other addresses are for a later switch to another camera."""
        return Child(self.command(folder, urls[0]), self.environment(desktop, folder),
                     f"{folder}/{self.label}.log")


class Mpv(Program):
    executable = "mpv"
    can_switch = True

    def __init__(self, label, options):
        super().__init__(label)
        self._options = options

    def command(self, folder, url):
        # Without --gpu-sw, mpv refuses to use a software renderer for OpenGL, and Xvfb has no other renderer.
        return ["mpv", *self._options, "--gpu-sw=yes", f"--input-ipc-server={folder}/mpv-socket", "--no-border",
                f"--geometry={WIDTH}x{HEIGHT}+{X}+{Y}", "--quiet", url]

    def prepare_switch(self, _desktop, folder):
        connection = socket.socket(socket.AF_UNIX)
        connection.connect(f"{folder}/mpv-socket")
        self._connection = connection

    def switch(self, url):
        """Chooses the camera and returns the time of the choice."""
        moment = time.monotonic() * 1000
        line = json.dumps({"command": ["loadfile", url]}) + "\n"
        self._connection.sendall(line.encode())
        return moment

    def after_switch(self, _desktop):
        self._connection.close()


class FFplay(Program):
    executable = "ffplay"

    def command(self, folder, url):
        return ["ffplay", "-hide_banner", "-loglevel", "warning", "-nostats", "-an",
                "-fflags", "nobuffer", "-flags", "low_delay", "-rtsp_transport", "tcp",
                "-noborder", "-x", str(WIDTH), "-y", str(HEIGHT), "-left", str(X), "-top", str(Y),
                url]


class GStreamer(Program):
    """A minimal pipeline without a jitter buffer. The sink shows each frame at once, whatever its time stamp."""

    executable = "gst-launch-1.0"

    def __init__(self, label, sink):
        super().__init__(label)
        self._sink = sink

    def command(self, folder, url):
        return ["gst-launch-1.0", "-q", "rtspsrc", f"location={url}", "protocols=tcp", "latency=0",
                *"! rtph264depay ! avdec_h264 !".split(), *self._sink]


class Lumvik(Program):
    """The viewer, with a new home folder for each run. `variables` are added to its environment."""

    is_peer = False
    can_switch = True

    def __init__(self, label, executable, variables):
        super().__init__(label)
        self.executable = executable
        self._variables = variables

    def start(self, desktop, folder, urls):
        home = f"{folder}/{self.label}-home"
        shutil.rmtree(home, ignore_errors=True)
        environment = dict(self.environment(desktop, folder), HOME=home, LUMVIK_LOG="stderr",
                           **self._variables)
        for kind in ("DATA", "CONFIG", "STATE"):
            environment[f"XDG_{kind}_HOME"] = f"{home}/{kind.lower()}"
        self._write_files(home, urls)
        return Child([self.executable], environment, f"{folder}/{self.label}.log")

    @staticmethod
    def _write_files(home, urls):
        for part in ("data", "config"):
            os.makedirs(f"{home}/{part}/lumvik")
        with open(f"{home}/data/lumvik/cameras.json", "w") as file:
            json.dump({"cameras": [{"name": f"Camera {n}", "url": url}
                                   for n, url in enumerate(urls, 1)]}, file)
        with open(f"{home}/config/lumvik/lumvik.conf", "w") as file:
            file.write("[General]\nmainWindowFrame=%d %d %d %d 0 0 %d %d\n" % (*WINDOW, *SCREEN))
            # A recent date of the last check prevents an automatic update check.
            now = datetime.datetime.now(datetime.timezone.utc)
            file.write("lastAutomaticUpdateCheck=%s\n" % now.strftime("%Y-%m-%dT%H:%M:%SZ"))

    def prepare_switch(self, desktop, _folder):
        """Opens the picker's menu and highlights the other camera, so that Return chooses it."""
        margin, gap, button = 12, 6, 28
        picker = X + WIDTH - margin - 3 * (button + gap) - 20, Y + margin + 12
        desktop.move_pointer(picker[0], Y + HEIGHT // 3)
        # "xdotool -" executes each line as it arrives, so the measured time does not include starting a process.
        self._input = subprocess.Popen(["xdotool", "-"], stdin=subprocess.PIPE, text=True,
                                       env=desktop.environment)
        self._send("mousemove %d %d" % picker)
        wait_until(lambda: desktop.pointer() == picker, 5, "the pointer")
        without_menu = len(self._visible_windows(desktop))

        def menu_is_open():
            return len(self._visible_windows(desktop)) > without_menu

        desktop.output("xdotool", "click", "1")
        wait_until(menu_is_open, 5, "the camera picker's menu")
        desktop.output("xdotool", "key", "Down")
        if not menu_is_open():
            raise Failure("the camera picker's menu closed by itself")

    def _send(self, line):
        self._input.stdin.write(line + "\n")
        self._input.stdin.flush()

    @staticmethod
    def _visible_windows(desktop):
        return desktop.output("xdotool", "search", "--onlyvisible", "--class", "lumvik").split()

    def switch(self, _url):
        moment = time.monotonic() * 1000
        self._send("key --delay 0 Return")
        return moment

    def after_switch(self, desktop):
        self._input.stdin.close()
        self._input.wait()
        desktop.move_pointer_away()


def player_options(source_root, video_output):
    """Reads the fixed player options from Lumvik's source and returns them as command-line options of mpv.

    `video_output` replaces Lumvik's own video output, which can only render into the viewer's window."""
    with open(f"{source_root}/engine/PlayerOptions.h") as file:
        block = re.search(r"playerOptions\{(.*?)\n\};", file.read(), re.S)
    options = re.findall(r'PlayerSetting\{"([^"]+)", "([^"]*)"\}', block.group(1)) if block else []
    if not options:
        raise Failure("the format of engine/PlayerOptions.h has changed, and the player options cannot be read from it")
    return [f"--{name}={video_output if name == 'vo' else value}" for name, value in options]


def viewers(executable):
    """Returns the viewer with each of its renderers, and without its link to the camera."""
    return [
        Lumvik("lumvik", executable, {"LUMVIK_RENDERER": "software"}),
        Lumvik("lumvik-direct", executable, {"LUMVIK_RENDERER": "software", "LUMVIK_LINK": "direct"}),
        Lumvik("lumvik-gl", executable, {"LUMVIK_RENDERER": "opengl"}),
    ]


def peers(source_root):
    scaled = ["videoscale", "!", "videoconvert", "!",
              f"video/x-raw,width={WIDTH},height={HEIGHT}", "!", "ximagesink", "sync=false"]
    return [
        Mpv("mpv-x11", player_options(source_root, "x11")),
        Mpv("mpv-same", player_options(source_root, "gpu")),
        Mpv("mpv-low", ["--no-config", "--profile=low-latency", "--rtsp-transport=tcp",
                        "--audio=no", "--vo=gpu"]),
        FFplay("ffplay"),
        GStreamer("gst", scaled),
    ]


def parse_variant(text):
    """Returns the program that a --variant (LABEL=PATH[,NAME=VALUE…]) describes."""
    label, separator, rest = text.partition("=")
    path, *variables = rest.split(",")
    if not separator or not label or not path or any("=" not in one for one in variables):
        raise ValueError(f"a variant is LABEL=PATH[,NAME=VALUE…], not {text!r}")
    return Lumvik(label, path, dict(one.split("=", 1) for one in variables))
