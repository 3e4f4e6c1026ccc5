#!/usr/bin/env python3
"""Input filter of Doxygen for headers. Comments stay with the declarations that have them.

The comment that opens a file, `//` below #pragma once, becomes the documentation of the file, and what the file
declares joins the topic of its folder (docs/topics.dox). Line numbers stay.

usage: doxygen_filter.py HEADER
"""

import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def with_file_comment(lines):
    if lines[0] != "#pragma once" or not lines[1].startswith("// "):
        return lines
    end = next(i for i, line in enumerate(lines) if i > 0 and not line.startswith("//"))
    text = [line[2:].removeprefix(" ") for line in lines[1:end]]
    return ["/** @file", *text, "*/" + lines[end], *lines[end + 1:]]


NAMESPACES = {"kvmath": "KvMath", "kvmeasure": "KvMeasure"}
TOPICS = {"kvmath": "topic_", "kvmeasure": "topic_measure_"}


def in_topic(lines, library, folder):
    """The content of the library's namespace as part of the topic of its folder; other headers as they are."""
    if library not in NAMESPACES:
        return lines
    opened = [i for i, line in enumerate(lines) if line == f"namespace {NAMESPACES[library]} {{"]
    closed = [i for i, line in enumerate(lines) if line == f"}}  // namespace {NAMESPACES[library]}"]
    if len(opened) == 1 and len(closed) == 1 and lines[opened[0] + 1] == "":
        lines[opened[0]] += f" /** @addtogroup {TOPICS[library]}{folder}"
        lines[opened[0] + 1] = "@{ */"
        lines[closed[0]] = "/** @} */ " + lines[closed[0]]
    return lines


if __name__ == "__main__":
    source = pathlib.Path(sys.argv[1])
    header = with_file_comment(source.read_text(encoding="utf-8").splitlines())
    folders = source.resolve().relative_to(ROOT).parts[:-1]  # kvmath/tsearch/constraints belongs to tsearch
    print("\n".join(in_topic(header, folders[0], folders[min(1, len(folders) - 1)])))
