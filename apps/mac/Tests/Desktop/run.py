#!/usr/bin/python3
"""Runs the desktop tests, or those whose names hold one of the arguments."""
import importlib
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[4] / "demo/desktop"))
import runner  # noqa: E402

if __name__ == "__main__":
    for module in sorted(pathlib.Path(__file__).parent.glob("test_*.py")):
        importlib.import_module(module.stem)
    runner.main()
