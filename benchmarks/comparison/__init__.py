"""The parts of benchmarks/compare, which measures Lumvik and other players side by side."""
