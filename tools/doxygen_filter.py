#!/usr/bin/env python3
"""Input filter of Doxygen: gives every declaration the comment that a reader sees for it.

In our headers one comment serves a group: the declarations below it up to the next comment or blank line (below a
trailing comment: those of the same type and parameters), and all names of `float a, b;  ///< comment`. The comment that opens a file serves the first type in it. Doxygen knows none of
this, so the comment is repeated here in front of each. Line numbers stay.

usage: doxygen_filter.py HEADER
"""

import pathlib
import re
import sys

NAMES = re.compile(r"^(\s*)((?:const |static )*[\w:<>]+(?:<[^;=()]*>)?[*&]?) ((?:\w+(?: = [\w.\-:]+)?, )+\w+(?: = [\w.\-:]+)?);\s*(?:///<\s?(.*))?$")
TYPE = re.compile(r"^(template |class |struct |enum )")
FALLBACK = "See the type."  # for members without a comment of their own; types and free functions must have one
NOT_A_DECLARATION = re.compile(r"^\s*(public|protected|private|signals)\s*:|^\s*[}#]|^\s*//|^\s*$|^\s*namespace |^\s*Q_|^\s*extern template")


def opening_comment(lines):
    """The `//` block below #pragma once, as one text with its line breaks as blanks."""
    block = []
    for line in lines:
        if re.match(r"//(?!/)", line):
            block.append(line[2:].strip())
        elif block:
            break
    return " ".join(block)


def one_line(text, declaration):
    return f"/** {text.replace('*/', '* /')} */ {declaration.lstrip()}" if text else declaration


def filtered(lines):
    result = []
    group = ""              # comment that serves the next declaration
    fresh = False           # the comment stands directly above: Doxygen sees it itself
    inside = False          # within a declaration of several lines
    depth_of_body = 0       # within an inline body
    kind = None             # signature that a trailing comment serves; None: any
    spare = opening_comment(lines)
    for line in lines:
        stripped = line.strip()
        if depth_of_body > 0:
            depth_of_body += line.count("{") - line.count("}")
            result.append(line)
            continue
        if inside:
            result.append(line)
            inside, depth_of_body = goes_on(line)
            continue
        if stripped.startswith("///<"):
            group += " " + stripped[4:].strip()
        elif stripped.startswith("///"):
            text = stripped[3:].strip()
            group = f"{group} {text}" if fresh else text
            fresh = True
        elif NOT_A_DECLARATION.match(line):
            group, fresh = "", False
        else:
            names = NAMES.match(line)
            trailing = re.search(r"///<\s?(.*)$", line)
            if TYPE.match(line) and not line.rstrip().endswith(";"):
                line = line if fresh else one_line(group or spare, line)
                group = spare = ""
            elif names:
                text = names.group(4) or group or FALLBACK
                line = names.group(1) + " ".join(
                    one_line(text, f"{names.group(2)} {name};") for name in names.group(3).split(", "))
            elif trailing and not fresh:
                group, kind = trailing.group(1), signature(line)
            elif fresh:
                kind = None
            elif group and kind in (None, signature(line)):
                line = one_line(group, line)
            elif line.startswith(" "):
                line = one_line(FALLBACK, line)
            fresh = bool(re.match(r"^template\b.*>$", line))  # its second half follows
            inside, depth_of_body = goes_on(line)
        result.append(line)
    return result


def in_topic(lines, folder):
    """The content of namespace KvMath as part of the topic of its folder (docs/topics.dox)."""
    opened = [i for i, line in enumerate(lines) if line == "namespace KvMath {"]
    closed = [i for i, line in enumerate(lines) if line == "}  // namespace KvMath"]
    if len(opened) == 1 and len(closed) == 1 and lines[opened[0] + 1] == "":
        lines[opened[0]] += f" /** @addtogroup topic_{folder}"
        lines[opened[0] + 1] = "@{ */"
        lines[closed[0]] = "/** @} */ " + lines[closed[0]]
    return lines


def signature(line):
    """Types of result and parameters, no names: a trailing comment serves declarations that agree in them."""
    return re.sub(r"\w+(?=[(,)])|\s*//.*$", "", line).strip()


def goes_on(line):
    """(declaration continues on the next line, open braces of an inline body)"""
    code = re.sub(r"/\*.*?\*/|//.*$", "", line).rstrip()
    if re.match(r"^\s*(template\b.*|.*\b(class|struct|enum|namespace)\b.*\{)$", code):
        return False, 0
    depth = code.count("{") - code.count("}")
    if depth > 0:
        return False, depth
    return not code.endswith((";", "}", ":")) and code != "", 0


if __name__ == "__main__":
    source = pathlib.Path(sys.argv[1])
    lines = filtered(source.read_text(encoding="utf-8").splitlines())
    print("\n".join(in_topic(lines, source.parent.name)))
