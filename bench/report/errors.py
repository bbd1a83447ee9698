class BenchError(Exception):
    """What went wrong, in words for the person who runs the suite."""
