"""The rows of the table, and the table as Markdown."""

import statistics
from dataclasses import dataclass

from .experiments import LARGE_PICTURES


@dataclass(frozen=True)
class Row:
    group: str  # the name of the group for --rows
    metric: str
    title: str
    unit: str
    form: str = "%.0f"
    is_ranked: bool = True  # whether the programs are ranked by this metric; a lower figure is better


def _decoding_rows(suffix, size, codec, fps):
    picture = f"{size.replace('x', ' × ')}, {codec.replace('h', 'H.')}, {fps} fps"
    return [
        Row("decode", f"decode_fps_{suffix}", f"{picture}: new frames per second", "1/s", "%.1f", False),
        Row("decode", f"decode_delay_{suffix}", f"{picture}: latency at the beginning, median", "ms"),
        Row("decode", f"decode_growth_{suffix}", f"{picture}: growth of the latency", "ms", "%+.0f", False),
        Row("decode", f"decode_cpu_{suffix}", f"{picture}: CPU", "cores", "%.2f"),
    ]


ROWS = [
    Row("start", "start", "Start of the program to the first frame", "ms"),
    Row("start", "start_first", "The same, in the very first run", "ms"),
    Row("delay", "delay_median", "Latency from capture to screen, median", "ms"),
    Row("delay", "delay_p95", "Latency from capture to screen, 95th percentile", "ms"),
    Row("delay", "delay_fps", "New frames per second on the screen (of 25)", "1/s", "%.1f", False),
    Row("streams", "delay_h265_median", "Latency, H.265, median", "ms"),
    Row("streams", "delay_sparse_median", "Latency, a key frame every 10 s, median", "ms"),
    Row("rates", "delay_5_median", "Latency at 5 pictures a second, median", "ms"),
    Row("rates", "delay_1_median", "Latency at 1 picture a second, median", "ms"),
    Row("busy", "busy_p95", "Latency with three busy neighbours, 95th percentile", "ms"),
    Row("busy", "busy_max", "Latency with three busy neighbours, longest", "ms"),
    Row("busy", "busy_fps", "New frames per second meanwhile (of 25)", "1/s", "%.1f", False),
    Row("busy", "after_busy_median", "Latency 2–6 s later, median", "ms"),
    Row("standstill", "stall_median", "Latency 2–12 s after a 3 s stall, median", "ms"),
    Row("standstill", "stall_p95", "Latency 2–12 s after a 3 s stall, 95th percentile", "ms"),
    Row("standstill", "stall_late_median", "Latency 18–22 s after a 3 s stall, median", "ms"),
    Row("cpu", "cpu", "CPU, 1280 × 720 at 25 fps", "cores", "%.3f"),
    Row("cpu", "cpu_large", "CPU, 1920 × 1080 at 25 fps", "cores", "%.3f"),
    Row("cpu", "delay_large_fps", "New frames per second at 1920 × 1080", "1/s", "%.1f", False),
    Row("controls", "controls_hidden", "CPU, controls hidden", "cores", "%.3f", False),
    Row("controls", "controls_shown", "CPU, controls shown", "cores", "%.3f", False),
    Row("controls", "controls_ratio", "CPU, controls shown to hidden", "ratio", "%.2f", False),
    Row("memory", "rss", "Memory, resident (RSS)", "MiB"),
    Row("memory", "pss", "Memory, proportional (PSS)", "MiB"),
    Row("switch", "switch", "Choosing another camera to its first frame", "ms"),
    *(row for picture in LARGE_PICTURES for row in _decoding_rows(*picture)),
]

GROUPS = list(dict.fromkeys(row.group for row in ROWS))


def median(results, label, metric):
    values = [run[metric] for run in results.get(label, []) if metric in run]
    return statistics.median(values) if values else None


def markdown(results, programs, groups):
    """Returns the medians of all runs as a table. Lumvik's figures include the ratio to the best peer's figure."""
    rows = [row for row in ROWS if row.group in groups]
    lines = ["| | " + " | ".join(program.label for program in programs) + " |",
             "|---|" + "---:|" * len(programs)]
    for row in rows:
        values = {program: median(results, program.label, row.metric) for program in programs}
        of_peers = [value for program, value in values.items()
                    if program.is_peer and value is not None]
        best = min(of_peers, default=None) if row.is_ranked else None
        cells = [_cell(row, program, values[program], best) for program in programs]
        lines.append(f"| {row.title} ({row.unit}) | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def _cell(row, program, value, best):
    if value is None:
        return "–"
    text = row.form % value
    if best is None:
        return text
    if program.is_peer:
        return f"**{text}**" if value == best else text
    return f"{text} (× {value / best:.2f})" if best > 0 else text
