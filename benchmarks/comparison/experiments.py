"""The experiments, which define how each program is used and what is measured.

Each experiment starts a new process of the program and returns {metric: value}, without the metrics that could not
be measured. `Lengths` contains the durations, in seconds."""

import contextlib
import os
import statistics
import time
from dataclasses import dataclass, field

from .cameras import StallingNetwork, TestCamera
from .desktop import ScreenClock
from .processes import Failure, busy_loop, cpu_seconds, memory_megabytes, wait_until

FIRST_PICTURE_SECONDS = 30


@dataclass(frozen=True)
class Lengths:
    settle: float = 4  # from the first frame to the steady state
    steady: float = 10  # how long the steady state is measured
    stall: float = 3  # how long the network stalls
    after_stall: tuple = (2, 12)  # when the latency is measured first, from the end of the stall
    late_after_stall: tuple = (18, 22)  # when the latency is measured again, from the end of the stall
    busy: float = 20  # how long other programs compete for the processor core
    switches: int = 4
    turn: float = 4  # how long the controls stay hidden or shown in each turn
    turns: int = 5  # the number of turns with hidden controls, and also with shown controls
    decode: float = 60  # how long the decoding of a large picture is measured
    decode_share: float = 5  # the first and the last part of this time, whose latencies are compared


QUICK = Lengths(settle=3, steady=4, after_stall=(2, 5), late_after_stall=(8, 10), busy=10, switches=2,
                turn=3, turns=2, decode=12, decode_share=3)


@dataclass
class Bench:
    """The tools and settings that all experiments share."""

    desktop: object
    clock: object
    folder: str
    camera_program: str
    lengths: Lengths
    groups: set  # the requested groups of rows
    clock_program: str
    _lasting_cameras: dict = field(default_factory=dict)
    _exits: contextlib.ExitStack = field(default_factory=contextlib.ExitStack)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._exits.close()

    def lasting_camera(self, **options):
        """Returns a camera that is kept for further experiments, because encoding ahead takes long."""
        key = tuple(sorted(options.items()))
        if key not in self._lasting_cameras:
            self._lasting_cameras[key] = self._exits.enter_context(self.camera(**options))
        return self._lasting_cameras[key]

    def camera(self, **options):
        return TestCamera(self.camera_program, self.desktop.environment, self.folder, **options)

    def wait_for_picture(self, child, since, is_wanted=lambda ink: True, clock=None):
        """Waits for a frame captured after `since` and returns when it was seen."""
        def seen():
            if not child.is_running():
                raise Failure("the program ended by itself: " + child.last_words())
            return (clock or self.clock).first_since(since, is_wanted)
        return wait_until(seen, FIRST_PICTURE_SECONDS, "a frame on the screen")

    def no_window_is_left(self):
        wait_until(lambda: not self.desktop.windows(), 10, "the end of the last window")


def milliseconds():
    return time.monotonic() * 1000


def percentile(values, share):
    ordered = sorted(values)
    return ordered[min(int(len(ordered) * share), len(ordered) - 1)]


def delays(bench, begin, end, prefix):
    values = bench.clock.between(begin, end)
    if not values:
        return {}
    return {prefix + "_median": percentile(values, 0.5), prefix + "_p95": percentile(values, 0.95),
            prefix + "_fps": len(values) * 1000 / (end - begin)}


def _watch_steady_state(bench, child, suffix):
    bench.desktop.require_window_in_place()
    time.sleep(bench.lengths.settle)
    begin, used = milliseconds(), cpu_seconds(child.pid)
    time.sleep(bench.lengths.steady)
    end, used = milliseconds(), cpu_seconds(child.pid) - used
    resident, proportional = memory_megabytes(child.pid)
    return {**delays(bench, begin, end, "delay" + suffix),
            "cpu" + suffix: used * 1000 / (end - begin),
            "rss" + suffix: resident, "pss" + suffix: proportional}


def steady(bench, program, size="1280x720", suffix=""):
    """Measures the time from the start to the first frame, then latency, CPU and memory in the steady state."""
    bench.no_window_is_left()
    start = "start" if program.has_run(bench.folder) else "start_first"
    with bench.camera(size=size) as camera:
        with program.start(bench.desktop, bench.folder, [camera.url]) as child:
            first = bench.wait_for_picture(child, child.started_at)
            figures = {start + suffix: first - child.started_at}
            if bench.groups & {"delay", "cpu", "memory"}:
                figures |= _watch_steady_state(bench, child, suffix)
            return figures


def steady_large(bench, program):
    return steady(bench, program, "1920x1080", "_large")


def streams(bench, program):
    """Measures the latency of other kinds of streams."""
    figures = {}
    for name, options in (("h265", {"codec": "h265"}), ("sparse", {"key_frame_seconds": 10})):
        bench.no_window_is_left()
        with bench.camera(**options) as camera:
            with program.start(bench.desktop, bench.folder, [camera.url]) as child:
                bench.wait_for_picture(child, child.started_at)
                time.sleep(bench.lengths.settle)
                begin = milliseconds()
                time.sleep(bench.lengths.steady)
                figures |= delays(bench, begin, milliseconds(), "delay_" + name)
    return figures


def rates(bench, program):
    """Measures the latency of cameras that send few pictures a second."""
    figures = {}
    for fps, pictures in ((5, 60), (1, 12)):
        bench.no_window_is_left()
        with bench.camera(fps=fps) as camera:
            with program.start(bench.desktop, bench.folder, [camera.url]) as child:
                bench.wait_for_picture(child, child.started_at)
                time.sleep(max(bench.lengths.settle, 12 / fps))
                begin = milliseconds()
                time.sleep(pictures / fps)
                figures |= delays(bench, begin, milliseconds(), f"delay_{fps}")
    return figures


def busy(bench, program):
    """Measures the latency while three other programs compete with the viewer for one processor core."""
    bench.no_window_is_left()
    with bench.camera() as camera:
        with program.start(bench.desktop, bench.folder, [camera.url]) as child:
            bench.wait_for_picture(child, child.started_at)
            time.sleep(bench.lengths.settle)
            core = max(os.sched_getaffinity(0))
            for thread in os.listdir(f"/proc/{child.pid}/task"):
                os.sched_setaffinity(int(thread), {core})
            begin = milliseconds()
            with contextlib.ExitStack() as neighbours:
                for _ in range(3):
                    neighbours.enter_context(busy_loop(core, bench.desktop.environment, bench.folder))
                time.sleep(bench.lengths.busy)
            end = milliseconds()
            time.sleep(6)
            if not child.is_running():
                raise Failure("the program ended by itself: " + child.last_words())
            during = bench.clock.between(begin, end)
            return {"busy_max": max(during, default=(end - begin)),
                    **delays(bench, begin, end, "busy"),
                    **delays(bench, end + 2000, end + 6000, "after_busy")}


def standstill(bench, program):
    """Measures the latency after a stall of the network between the camera and the viewer."""
    lengths = bench.lengths
    bench.no_window_is_left()
    with bench.camera() as camera, StallingNetwork(camera.url) as network:
        with program.start(bench.desktop, bench.folder, [network.url]) as child:
            bench.wait_for_picture(child, child.started_at)
            time.sleep(lengths.settle)
            network.stall()
            time.sleep(lengths.stall)
            network.resume()
            resumed = milliseconds()
            time.sleep(lengths.late_after_stall[1])
            if not child.is_running():
                raise Failure("the program ended by itself: " + child.last_words())
            spans = {"stall": lengths.after_stall, "stall_late": lengths.late_after_stall}
            results = {}
            for name, (begin, end) in spans.items():
                results |= delays(bench, resumed + begin * 1000, resumed + end * 1000, name)
            return results


def controls(bench, program):
    """Measures the viewer's CPU time while its controls are hidden and shown in turn. Skips other programs."""
    if program.is_peer:
        return {}
    lengths = bench.lengths
    bench.no_window_is_left()
    used = {"controls_hidden": [], "controls_shown": []}
    with bench.camera() as camera:
        with program.start(bench.desktop, bench.folder, [camera.url]) as child:
            bench.wait_for_picture(child, child.started_at)
            bench.desktop.require_window_in_place()
            time.sleep(lengths.settle)
            for turn in range(2 * lengths.turns):
                metric = "controls_shown" if turn % 2 else "controls_hidden"
                if turn % 2:
                    bench.desktop.move_pointer_over_picture()
                else:
                    bench.desktop.move_pointer_away()
                time.sleep(1)  # until the controls have faded in or out
                begin, before = milliseconds(), cpu_seconds(child.pid)
                time.sleep(lengths.turn)
                used[metric].append((cpu_seconds(child.pid) - before) * 1000
                                    / (milliseconds() - begin))
    bench.desktop.move_pointer_away()
    figures = {metric: statistics.median(values) for metric, values in used.items()}
    figures["controls_ratio"] = figures["controls_shown"] / figures["controls_hidden"]
    return figures


LOOP_SECONDS = 4

# The large pictures: metric suffix, size, codec and frames per second.
LARGE_PICTURES = [
    ("1440_264", "2560x1440", "h264", 25),
    ("1440_265", "2560x1440", "h265", 25),
    ("2160_264_slow", "3840x2160", "h264", 15),
    ("2160_265_slow", "3840x2160", "h265", 15),
    ("2160_264", "3840x2160", "h264", 25),
    ("2160_265", "3840x2160", "h265", 25),
    ("2160_265_fast", "3840x2160", "h265", 50),
]


def decoding(suffix, size, codec, fps):
    """Returns an experiment that measures whether a program keeps up with a large picture, whose camera spends no
    time on encoding."""
    def experiment(bench, program):
        lengths = bench.lengths
        bench.no_window_is_left()
        camera = bench.lasting_camera(name=f"Large_{suffix}", size=size, codec=codec, fps=fps,
                                      encoded_ahead=LOOP_SECONDS)
        with ScreenClock(bench.clock_program, bench.desktop, bench.folder, loop=LOOP_SECONDS * 1000) as clock, \
                program.start(bench.desktop, bench.folder, [camera.url]) as child:
            bench.wait_for_picture(child, child.started_at, clock=clock)
            bench.desktop.require_window_in_place()
            time.sleep(lengths.settle)
            begin, used = milliseconds(), cpu_seconds(child.pid)
            time.sleep(lengths.decode)
            end, used = milliseconds(), cpu_seconds(child.pid) - used
            if not child.is_running():
                raise Failure("the program ended by itself: " + child.last_words())
            share = lengths.decode_share * 1000
            first, last = clock.between(begin, begin + share), clock.between(end - share, end)
            if not first or not last:
                raise Failure("no new frames on the screen")
            return {f"decode_fps_{suffix}": len(clock.between(begin, end)) * 1000 / (end - begin),
                    f"decode_delay_{suffix}": statistics.median(first),
                    f"decode_growth_{suffix}": statistics.median(last) - statistics.median(first),
                    f"decode_cpu_{suffix}": used * 1000 / (end - begin)}
    experiment.__name__ = f"decoding {size} {codec} {fps} fps"
    return experiment


# Camera names that lumvik-screen-clock can distinguish by their share of bright pixels, called ink.
SHORT_NAME, LONG_NAME = "I", "MMMMMMMM"
INK_BETWEEN = 100


def switching(bench, program):
    """Measures the time from choosing another camera to its first frame, recognised by the name in the picture."""
    if not program.can_switch:
        return {}
    bench.no_window_is_left()
    took = []
    with bench.camera(name=SHORT_NAME) as short, bench.camera(name=LONG_NAME) as long:
        with program.start(bench.desktop, bench.folder, [short.url, long.url]) as child:
            bench.wait_for_picture(child, child.started_at, lambda ink: ink < INK_BETWEEN)
            choices = [(long, lambda ink: ink > INK_BETWEEN), (short, lambda ink: ink < INK_BETWEEN)]
            for n in range(bench.lengths.switches):
                time.sleep(bench.lengths.settle / 2)
                chosen, is_its_name = choices[n % 2]
                program.prepare_switch(bench.desktop, bench.folder)
                chosen_at = program.switch(chosen.url)
                took.append(bench.wait_for_picture(child, chosen_at, is_its_name) - chosen_at)
                program.after_switch(bench.desktop)
    return {"switch": statistics.median(took)}
