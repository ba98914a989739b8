"""The modules of benchmarks/compare, some of which benchmarks/soak also uses."""
