#!/usr/bin/env python3
"""Checks that every public declaration of the installed headers has documentation of its own, as Doxygen shows it,
and that every source of more than 120 lines opens with a comment.

- A type, an enumeration, a public or protected function and each public or protected variable has a comment: `///`
  directly above it or `///<` behind it. `float a, b;` counts only its last name, as Doxygen does.
- Two functions of a header must not begin with the same sentence, unless they are one operation of several classes.
  So nobody copies a comment and forgets to change it.
- A protected function that overrides one may do without: Doxygen shows the comment of the base.
- The comment says something of its own: "See the type." and "The same." name nothing.
- The comment that opens a source says what its reader lacks: the method, its source and cost, and why this way.

usage: check_reference.py [HEADER...] | check_reference.py --self-test
Without headers: all that are installed, and all sources.
"""

import collections
import dataclasses
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOKEN = re.compile(
    r"(?P<directive>^[ \t]*#(?:[^\n]*\\\n)*[^\n]*)|(?P<doc>///[^\n]*)|(?P<plain>//[^\n]*|/\*.*?\*/)"
    r"|(?P<string>\"(?:[^\"\\\n]|\\.)*\"|'(?:[^'\\\n]|\\.)*')|(?P<newline>\n)|(?P<other>[^\n])",
    re.M | re.S)
NO_DECLARATION = re.compile(
    r"^(using\b|friend\b|extern template\b|static_assert\b|Q_DECLARE_TYPEINFO\b|Q_DISABLE_COPY\b"
    r"|(template ?<[^<>]*> ?)?(class|struct|enum) [\w:]+$)")
CONSTRUCTOR = "constructor"
EMPTY_WORDS = re.compile(r"^(See the (type|class)|The same|As above|Likewise)\.?$")


@dataclasses.dataclass
class Scope:
    kind: str           # "namespace", "class" or "enum"
    name: str
    access: str


@dataclasses.dataclass
class Declaration:
    line: int
    scope: str
    name: str
    kind: str           # "type", "function" or "variable"
    optional: bool      # may do without a comment
    comment: str = ""
    comment_lines: list = dataclasses.field(default_factory=list)

    def shown(self):
        return f"{self.scope}::{self.name}" if self.scope else self.name


class Header:
    """Reads one header: the declarations that a reader sees, each with the comment that Doxygen gives it."""

    def __init__(self, text):
        self.declarations = []
        self.faults = []            # (line, what)
        self.scopes = [Scope("namespace", "", "public")]
        self.leading, self.leading_end = [], 0      # `///` lines that wait for their declaration, and the last's number
        self.last, self.last_end = [], 0            # declarations that a `///<` here would serve
        self.code, self.start = "", 0               # declaration that is being read
        self.parens = 0
        self.skipped = 0                            # depth inside a body or an initialiser
        self.line = 1
        for token in TOKEN.finditer(text):
            getattr(self, "on_" + token.lastgroup)(token.group())
            self.line += token.group().count("\n")

    def on_directive(self, _):
        self.leading = []

    def on_plain(self, _):
        pass

    def on_newline(self, _):
        if self.code:
            self.code += " "

    def on_string(self, text):
        if not self.skipped:
            self.code += text

    def on_doc(self, text):
        is_trailing = text.startswith("///<")
        text = text[3:].strip()
        if self.skipped or (is_trailing and self.scopes[-1].kind == "enum"):
            return
        if is_trailing:
            if self.last and self.line - self.last_end <= 1:
                self.last[-1].comment = f"{self.last[-1].comment} {text[1:].strip()}".strip()
                self.last[-1].comment_lines.append(self.line)
                self.last_end = self.line
            else:
                self.faults.append((self.line, "a `///<` comment without its declaration"))
        else:
            if self.leading_end != self.line - 1:
                self.leading = []
            self.leading.append(text)
            self.leading_end = self.line

    def on_other(self, char):
        if self.skipped:
            self.skipped += (char == "{") - (char == "}")
            if not self.skipped and self.body:
                self.end_declaration()
            return
        if not self.code.strip():
            self.code, self.start = "", self.line
            if char.isspace():
                return
        self.parens += (char == "(") - (char == ")")
        if self.parens == 0 and char in "{};:":
            self.on_border(char)
        else:
            self.code += char

    def on_border(self, char):
        code = re.sub(r"\s+", " ", self.code).strip()
        if char == ":" and code in ("public", "protected", "private"):
            self.scopes[-1].access = code
            self.code = ""
        elif char == ":":
            self.code += char
        elif char == "{":
            self.on_brace(code)
        elif char == "}":
            if self.scopes[-1].kind == "enum":
                self.code = ""
            self.scopes.pop()
            self.last, self.leading = [], []
            self.code = ""
        else:
            self.end_declaration()

    def on_brace(self, code):
        opened = re.match(r"^(?:template ?<[^<>]*> ?)?(namespace|class|struct|enum)\b(?: KV(?:MATH|MEASURE)_EXPORT)?\s*([\w:]*(?:<\w+>)?)", code)
        if opened and "(" not in code:
            kind, name = opened.groups()
            if kind == "namespace":
                if self.leading_end == self.line - 1:
                    self.leading = []
            else:
                self.add(Declaration(self.start, self.scope(), name, "type", False))
            hidden = name == "Internal" or self.scopes[-1].access == "private"
            access = "private" if hidden or kind == "class" else "public"
            self.scopes.append(Scope({"struct": "class"}.get(kind, kind), name, access))
            self.last, self.code = [], ""
        else:
            self.body = "(" in code and not code.endswith("=")
            self.skipped = 1

    def scope(self):
        return "::".join(s.name for s in self.scopes if s.name and s.kind == "class")

    def end_declaration(self):
        code = re.sub(r"\s+", " ", self.code).strip()
        self.code = ""
        if not code or NO_DECLARATION.match(code) or self.scopes[-1].kind == "enum":
            self.last, self.leading = [], []
            return
        code = re.sub(r"^template ?<[^<>]*> ?", "", code)
        function = re.search(r"(operator ?[^\w\s(]+|operator\(\)|~?\w+) ?\(", re.sub(r" = .*$", "", code))
        if function:
            optional = self.scopes[-1].access == "protected" and code.endswith(" override")
            name = function.group(1) if function.group(1) != self.scopes[-1].name else CONSTRUCTOR
            found = [Declaration(self.start, self.scope(), name, "function", optional)]
        else:
            names = re.sub(r" ?(=|\{).*?(?=,|$)|\[[^\]]*\]", "", re.sub(r"<[^;]*>", "", code)).split(",")
            found = [Declaration(self.start, self.scope(), re.search(r"(\w+)\s*$", n).group(1), "variable", False)
                     for n in names]
        for declaration in found:
            self.add(declaration)
        self.last, self.last_end = found, self.line

    def add(self, declaration):
        """Gives the declaration the comment above it (only the first of several names)."""
        if self.leading and self.leading_end == declaration.line - 1:
            declaration.comment = " ".join(self.leading)
            declaration.comment_lines = list(range(declaration.line - len(self.leading), declaration.line))
        self.leading = []
        if self.scopes[-1].access == "private":
            return
        self.declarations.append(declaration)


def brief(comment):
    """The sentence that Doxygen shows in its lists."""
    return re.split(r"(?<=[.])\s", comment, 1)[0].strip().rstrip(".").lower()


def faults_of(text):
    header = Header(text)
    faults = list(header.faults)
    sentences = collections.defaultdict(list)
    for d in header.declarations:
        if not re.search(r"\w", d.comment):
            if not d.optional:
                faults.append((d.line, f"{d.shown()} has no comment of its own"))
        elif EMPTY_WORDS.match(d.comment):
            faults.append((d.line, f"{d.shown()}: \"{d.comment}\" says nothing"))
        elif d.kind == "function":
            sentences[brief(d.comment)].append(d)
    for sentence, functions in sentences.items():
        first = functions[0]
        for other in functions[1:]:
            if other.name != first.name or other.scope == first.scope:
                faults.append((other.line, f"{other.shown()} has the sentence of {first.shown()}: \"{sentence}\""))
    return sorted(faults)


def installed_headers():
    headers = [p for library in ("kvmath", "kvmeasure") for p in (ROOT / library).rglob("*.h")
               if not p.name.endswith("_p.h")]
    return sorted(headers + [ROOT / "tarn/tarn.h"])


HEADER = '''
/// A vector.
template <class T>
struct Vector {
    T x;                 ///< along
    T y{}, *z = {};
    enum Kind { A, B };
    /// Adds.
    Vector& operator+=(const Vector& other) { if (other.x) { x = 1; } return *this; }
    T size() const;      ///< length

    /// Far above.

    T far() const;
    void
    split(int a,
          int b);        ///< parts,
                         ///< two
protected:
    void hook() override;
    void own();
private:
    int hidden_;
    void hide();
};
/// Adds.
void add(Vector<int>& a, void (*f)(int, void*));
void add(int a);  ///< adds a number
void sub(int a);  ///< Adds a number.
void mul(int a);  ///< See the type.
class Vector3;
using Other = Vector<int>;
struct Bare {};
'''
FOUND = [(6, "Vector::y has no"), (6, "Vector::z has no"), (7, "Vector::Kind has no"), (14, "Vector::far has no"),
         (21, "Vector::own has no"), (27, "add has the sentence of Vector::operator+="), (29, "sub has the sentence of add"),
         (30, "says nothing"), (33, "Bare has no")]


def opens_silently(text):
    """A source that begins with code although it is long."""
    longest = 120
    return text.count("\n") > longest and not text.startswith("//")


def silent_sources():
    sources = [path for folder in ("kvmath", "kvmeasure", "cli", "simulator", "python")
               for path in sorted((ROOT / folder).rglob("*.cpp"))]
    return [path.relative_to(ROOT) for path in sources if opens_silently(path.read_text(encoding="utf-8"))]


def self_test():
    """Planted faults are found and nothing else; and no comment of the installed headers could go unnoticed."""
    found = faults_of(HEADER)
    assert len(found) == len(FOUND), found
    for (line, what), (expected_line, expected) in zip(found, FOUND):
        assert line == expected_line and expected in what, (line, what, expected)
    assert [opens_silently(head + "x;\n" * lines) for head, lines in
            (("", 120), ("", 121), ("// How.\n", 121))] == [False, True, False]
    count = 0
    for path in installed_headers():
        lines = path.read_text(encoding="utf-8").split("\n")
        commented = [d for d in Header("\n".join(lines)).declarations if d.comment]
        for robbed in (commented[::2], commented[1::2]):  # every other one: none may take its neighbour's comment
            lost = {number for d in robbed for number in d.comment_lines}
            rest = "\n".join(re.sub(r"///.*", "", line) if i in lost else line for i, line in enumerate(lines, 1))
            found = sorted(what for _, what in faults_of(rest))
            assert found == sorted(f"{d.shown()} has no comment of its own" for d in robbed), (path, found)
            count += len(robbed)
    print(f"check_reference: {len(FOUND)} planted faults found, {count} declarations cannot lose their comment")
    return 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    count = 0
    for path in [pathlib.Path(a) for a in arguments] or installed_headers():
        for line, what in faults_of(path.read_text(encoding="utf-8")):
            print(f"{path}:{line}: {what}")
            count += 1
    for path in [] if arguments else silent_sources():
        print(f"{path}:1: has more than 120 lines and opens without a comment: the method, its source and cost, why so")
        count += 1
    if not count:
        print("check_reference: every declaration has its own comment, every long source opens with one")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
