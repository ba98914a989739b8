"""A virtual screen with a window manager and a pointer, and a reader of the clock on that screen."""

import os
import re
import shutil
import subprocess
import threading

from .processes import Child, Failure, wait_until

SCREEN = (1280, 800)
WINDOW = (40, 30, 1120, 630)  # x, y, width and height of each program's window
POINTER_AWAY = (1270, 790)

# All normal windows get the same position and size and no decoration. Programs that have options for this are also
# started with these options; the rules are for the other programs.
OPENBOX_RULES = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <theme><keepBorder>no</keepBorder></theme>
  <applications>
    <application class="*" type="normal">
      <decor>no</decor>
      <position force="yes"><x>{0}</x><y>{1}</y></position>
      <size><width>{2}</width><height>{3}</height></size>
    </application>
  </applications>
</openbox_config>
"""


class Desktop:
    """Xvfb with openbox. Use it in a `with` statement. Start programs that open windows with `environment`."""

    def __init__(self, folder):
        self._folder = folder
        self._children = []
        self.environment = dict(os.environ)
        for name in ("WAYLAND_DISPLAY", "LIBGL_ALWAYS_SOFTWARE", "QT_QPA_PLATFORM",
                     "DBUS_SESSION_BUS_ADDRESS", "SDL_VIDEODRIVER"):
            self.environment.pop(name, None)

    def __enter__(self):
        try:
            self._start_screen()
            self._start_window_manager()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for child in reversed(self._children):
            child.end()

    def _start_screen(self):
        reading, writing = os.pipe()
        with os.fdopen(reading) as answer:
            self._children.append(Child(
                ["Xvfb", "-displayfd", str(writing), "-screen", "0", "%dx%dx24" % SCREEN,
                 "-nolisten", "tcp"],
                self.environment, f"{self._folder}/xvfb.log", pass_fds=[writing]))
            os.close(writing)
            number = answer.readline().strip()
        if not number:
            raise Failure("Xvfb did not start")
        self.environment["DISPLAY"] = ":" + number

    def _start_window_manager(self):
        rules = f"{self._folder}/openbox.xml"
        with open(rules, "w") as file:
            file.write(OPENBOX_RULES.format(*WINDOW))
        self._children.append(Child(["openbox", "--config-file", rules], self.environment,
                                    f"{self._folder}/openbox.log"))
        wait_until(lambda: "window id" in self.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                   10, "the window manager")
        self.move_pointer(*POINTER_AWAY)

    def output(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True).stdout

    def move_pointer(self, x, y):
        self.output("xdotool", "mousemove", str(x), str(y))

    def move_pointer_away(self):
        self.move_pointer(*POINTER_AWAY)

    def move_pointer_over_picture(self):
        # The second move is needed because programs react to motion events, not to the pointer's position.
        x, y, width, height = WINDOW
        self.move_pointer(x + width // 2, y + height // 2)
        self.move_pointer(x + width // 2 + 10, y + height // 2)

    def pointer(self):
        answer = self.output("xdotool", "getmouselocation")
        place = re.match(r"x:(\d+) y:(\d+)", answer)
        return place and (int(place[1]), int(place[2]))

    def windows(self):
        """Returns the identifiers of the windows that the window manager manages."""
        return re.findall(r"0x[0-9a-f]+", self.output("xprop", "-root", "_NET_CLIENT_LIST"))

    def place_of(self, window):
        answer = dict(line.split("=") for line in self.output(
            "xdotool", "getwindowgeometry", "--shell", window).split() if "=" in line)
        return tuple(int(answer.get(key, 0)) for key in ("X", "Y", "WIDTH", "HEIGHT"))

    def require_window_in_place(self):
        places = [self.place_of(window) for window in self.windows()]
        if places != [WINDOW]:
            raise Failure(f"expected one window at {WINDOW}, found {places}")


class ScreenClock:
    """Collects the output of lumvik-screen-clock. `changes` is a list of (moment, delay, ink), as explained in
    screen_clock.cpp. Times are in milliseconds. `loop` is the length of the loop of a camera whose pictures were
    encoded ahead; such a clock is for a single stream."""

    def __init__(self, program, desktop, folder, interval=2, loop=0):
        self.changes = []
        self._child = Child([program, *map(str, (*WINDOW, interval, loop))], desktop.environment,
                            f"{folder}/screen-clock.log", stdout=subprocess.PIPE, text=True)
        if self._child.process.stdout.readline().strip() != "ready":
            raise Failure("lumvik-screen-clock did not start: " + self._child.last_words())
        self._thread = threading.Thread(target=self._collect, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._child.process.terminate()
        self._thread.join()
        self._child.end()

    def _collect(self):
        for line in self._child.process.stdout:
            self.changes.append(tuple(int(field) for field in line.split()))

    def first_since(self, moment, is_wanted=lambda ink: True):
        """Returns when the first frame captured at or after `moment` was seen, or None."""
        first = None
        for seen, delay, ink in reversed(self.changes):
            if seen < moment:
                break
            if seen - delay >= moment and is_wanted(ink):
                first = seen
        return first

    def between(self, begin, end):
        """Returns the latencies of the frames that were seen from `begin` to `end`."""
        return [delay for seen, delay, _ in self.changes if begin <= seen < end]


def missing_tools():
    tools = ("Xvfb", "openbox", "xdotool", "xprop")
    return [tool for tool in tools if not shutil.which(tool)]
