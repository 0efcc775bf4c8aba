#!/usr/bin/python3
"""Runs the desktop tests, or those whose names hold one of the arguments."""
import runner
import test_caretaker  # noqa: F401
import test_inspect  # noqa: F401
import test_menu  # noqa: F401
import test_process  # noqa: F401
import test_roads  # noqa: F401
import test_status_item  # noqa: F401
import test_tools  # noqa: F401

if __name__ == "__main__":
    runner.main()
