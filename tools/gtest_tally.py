#!/usr/bin/python3
"""Reads a GoogleTest XML report and prints the tally as one line,
"N passed, M failed, K skipped", after the names of the failed tests.
Exits 1 when a test failed or the report holds no test at all.

Usage: gtest_tally.py REPORT.xml [LABEL]
"""
import sys
import xml.etree.ElementTree as ET


def main():
    report = sys.argv[1]
    label = sys.argv[2] + ": " if len(sys.argv) > 2 else ""
    passed = failed = skipped = 0
    for case in ET.parse(report).getroot().iter("testcase"):
        name = case.get("classname", "") + "." + case.get("name", "")
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
            print("FAILED:", name)
        elif case.get("result") == "skipped" or case.find("skipped") is not None:
            skipped += 1
            print("skipped:", name)
        elif case.get("status") == "notrun":
            continue  # a disabled test
        else:
            passed += 1
    print(f"{label}{passed} passed, {failed} failed, {skipped} skipped")
    return 1 if failed or passed + skipped == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
