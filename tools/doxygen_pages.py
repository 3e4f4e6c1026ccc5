#!/usr/bin/env python3
"""Input filter of Doxygen for Markdown: makes the links between our pages work in the reference.

Doxygen knows neither `page.md#heading` nor pictures above a page's folder nor folders. So every heading gets the label
"page-heading", links lead to it, links to pages start at the project's folder (Doxygen takes them from where it runs),
pictures lose their folder (IMAGE_PATH knows it), links to folders become plain text.
And it takes `std::isnan(x)` for a request to link, even in code: in coverage.md, which quotes sources, a space of no
width parts the colons.

usage: doxygen_pages.py PAGE
"""

import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def label(page, heading):
    return f"{pathlib.Path(page).stem}-{re.sub(r'[^a-z0-9 _-]', '', heading.lower()).replace(' ', '-')}"


def from_root(page, file):
    """`file` as `page` links to it, seen from the project's folder, where Doxygen runs."""
    return os.path.relpath(os.path.join(os.path.dirname(os.path.abspath(page)), file), ROOT)


def filtered(page, text):
    known = set()

    def heading(match):
        name = label(page, match[2])
        if name in known:
            return match[0]
        known.add(name)
        return f"{match[1]} {match[2]} {{#{name}}}"

    def link(match):
        shown, target = match[1], match[2]
        if re.match(r"\w+:", target):
            return match[0]
        if target.endswith(".svg"):
            return f"[{shown}]({pathlib.Path(target).name})"
        file, _, place = target.partition("#")
        if place:
            return f"[{shown}](#{label(file or page, place)})"
        return f"[{shown}]({from_root(page, file)})" if file.endswith(".md") else shown

    parts = re.split(r"(^```.*?^```$)", text, flags=re.M | re.S)  # code stays as it is
    for i in range(0, len(parts), 2):
        parts[i] = re.sub(r"\[([^\]]*)\]\(([^)\s]+)\)", link, re.sub(r"^(##+) (.*)$", heading, parts[i], flags=re.M))
        if pathlib.Path(page).stem == "coverage":
            parts[i] = re.sub(r"`[^`\n]+`", lambda code: code[0].replace("::", ":\u200b:"), parts[i])
    return "".join(parts)


if __name__ == "__main__":
    source = pathlib.Path(sys.argv[1])
    print(filtered(source, source.read_text(encoding="utf-8")), end="")
