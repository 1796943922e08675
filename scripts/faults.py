#!/usr/bin/env python3
"""Finds places for faults of simple kinds in sources, and plants one of them.

faults.py list SEED N FILE...   draws N faults, as many in each layer; one line each: layer, kind, file, number of the line, where in it the fault
                                begins, how much it replaces, by what, and the line itself
faults.py plant KIND FILE NUMBER COLUMN LENGTH TEXT LINE
faults.py tell                  prints those of the standard input for people


Comments, includes, declarations, assertions and the words of diagnostics stay as they are, and
so does the program entry, as no test of its own covers it.
"""
import itertools
import os
import random
import re
import sys

LAYERS = ["Audio", "Models", "Utils", "Platform", "ViewModels", "Views", "Style"]
THEME = "src/Style/Theme.qml"
ICONS = "src/Style/icons"
TURNED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "===": "!==",
          "!==": "===", "&&": "||", "||": "&&", "+": "-", "-": "+", "*": "/", "/": "*",
          "+=": "-=", "-=": "+=", "++": "--", "--": "++", "true": "false", "false": "true"}
KIND = {"&": "condition", "|": "condition", "=": "condition", "!": "condition", "<": "edge",
        ">": "edge", "t": "constant", "f": "constant"}
# What is no code: comments, raw and ordinary strings, characters (but not the marks in 48'000).
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.|\n)*?\)"|"(?:\\.|[^"\\\n])*"'
                     r"|(?<!\w)'(?:\\.|[^'\\\n])*'|`[^`]*`", re.DOTALL)
NO_FAULT = re.compile(r"^[ \t]*(?:#|import |using |namespace |template|static_assert|Q_\w+\()[^\n]*",
                      re.MULTILINE)
# With spaces around, as the format has it, these are no pointers, templates or signs.
OPERATOR = re.compile(r"(?<= )(?:[<>]=?|[!=]==?|&&|\|\||[-+*/]|[-+]=)(?= )"
                      r"|(?<!\w)(?:\+\+|--)(?=\w)|\b(?:true|false)\b")
NUMBER = re.compile(r"(?<![\w.'])\d[\d']*(?:\.\d+)?(?:e-?\d+)?(?![\dx.])")
PURE = re.compile(r"= 0;")
BRANCH = re.compile(r"\b(?:if|while) (?=\()")
STATEMENT = re.compile(r"(?<=[;{})])\s+(?:emit )?(?:\w+(?:->|\.|::))*[a-z]\w*(?=\(| [-+]?= |;)"
                       r"(?=[^;{}\n]*(?:\(|= ))")
# Not one that only names an object.
BINDING = re.compile(r"^ +(?!id:|case |default:|property |required |readonly )"
                     r"([a-z][\w.]*|[A-Z]\w*\.\w+): (?![A-Z]\w*(?:\.\w+)? \{)", re.MULTILINE)
BRACKETS = {"(": ")", "[": "]", "{": "}"}


def read(path):
    with open(path, encoding="utf-8", newline="") as file:
        return file.read()


def blank(match):
    return re.sub(r"[^\n]", " ", match.group())


def code_of(text):
    """The text with as many spaces in the place of all that no fault is planted in."""
    return NO_FAULT.sub(blank, NO_CODE.sub(blank, text))


def end_of_bracket(code, begin):
    """Behind the bracket that closes the one at begin."""
    depth = 0
    for place in range(begin, len(code)):
        if code[place] in "([{":
            depth += 1
        elif code[place] in ")]}":
            depth -= 1
            if depth == 0:
                return place + 1
    return len(code)


def end_of_expression(code, place, stop):
    """The next of the characters in stop outside of brackets, or a bracket that closes."""
    while place < len(code) and code[place] not in stop + ")]}":
        place = end_of_bracket(code, place) if code[place] in BRACKETS else place + 1
    return place


def end_of_binding(code, place):
    """The end of its last line; the next one goes on if it begins with an operator."""
    while True:
        place = end_of_expression(code, place, "\n;")
        goes_on = re.compile(r"\n\s*(?:[-+*/?:]|&&|\|\|)").match(code, place)
        if not goes_on:
            return place
        place = goes_on.end()


class Theme:
    """What each colour, size and font of the theme could be mistaken for."""

    def __init__(self):
        self.kinds = {name: kind for kind, name in
                      re.findall(r"readonly property (color|real|int|font) (\w+)", read(THEME))}

    def others(self, name):
        kind = self.kinds.get(name)
        return sorted(other for other, its in self.kinds.items() if its == kind and other != name)


def faults_in(path, theme, icons, rng):
    """All faults of a file: kind, begin, end, text instead."""
    text = read(path)
    code = code_of(text)
    qml = path.endswith(".qml")
    for match in OPERATOR.finditer(code):
        sign = match.group()
        # Texts are joined, but not subtracted.
        if sign[0] == "+" and '"' in (text[match.start() - 2], text[match.end() + 1]):
            continue
        kind = "arithmetic" if sign[0] in "+-*/" else KIND[sign[0]]
        yield kind, match.start(), match.end(), TURNED[sign]
    for match in NUMBER.finditer(code):
        if not PURE.match(code, match.start() - 2):
            number = float(match.group().replace("'", ""))
            one = "1.0" if "." in match.group() else "1"
            other = one if number == 0 else "(2 * " + match.group()
            # A unit or a type belongs to the number.
            end = match.end() + len(re.match(r"[A-Za-z_]*", code[match.end():]).group())
            unit = text[match.end():end]
            yield "constant", match.start(), end, other + unit + (")" if number else "")
    for match in re.finditer(r"(?<=[ (])!(?=[\w(])", code):
        yield "condition", match.start(), match.end(), ""
    for match in re.finditer(r" \? ", code):
        yield "condition", match.start(), match.start(), rng.choice([" && false", " || true"])
    for match in BRANCH.finditer(code):
        end = end_of_bracket(code, match.end()) - 1
        begin = max(match.end() + 1, code.rfind("; ", match.end(), end) + 2)
        yield "condition", begin, end, f"!({text[begin:end]})"
    for match in STATEMENT.finditer(code):
        begin = match.start() + len(re.match(r"\s*", match.group()).group())
        end = end_of_expression(code, begin, ";")
        if code[end:end + 1] == ";" and not code.startswith("return", begin):
            yield "statement", begin, end + 1, "" if qml else "{}"
    for match in re.finditer(r"\breturn (?!true;|false;|nullptr;|\{)", code):
        end = end_of_expression(code, match.end(), ";")
        if not NUMBER.fullmatch(code[match.end():end]):
            yield "return", match.end(), end, "undefined" if qml else "{}"
    for match in re.finditer(r'"([\w.]+)"', text):
        if match.group(1) in icons:
            other = rng.choice([icon for icon in icons if icon != match.group(1)])
            yield "symbol", match.start(1), match.end(1), other
    if qml:
        for match in BINDING.finditer(code):
            kind = "handler" if re.match(r"(?:\w+\.)?on[A-Z]", match.group(1)) else "binding"
            begin = match.start(1)
            yield kind, begin, end_of_binding(code, match.end()), ""
        for match in re.finditer(r"\bTheme\.(\w+)", code):
            if others := theme.others(match.group(1)):
                yield "symbol", match.start(1), match.end(1), rng.choice(others)


def draw(seed, count, paths):
    rng = random.Random(seed)
    theme = Theme()
    icons = sorted(os.path.splitext(name)[0] for name in os.listdir(ICONS))
    layers = {layer: [] for layer in LAYERS}
    for path in sorted(paths):
        layer = path.split("/")[1]
        if layer not in layers:
            continue
        text = read(path)
        for kind, begin, end, instead in faults_in(path, theme, icons, rng):
            if text[begin:end] != instead:
                bol = text.rfind("\n", 0, begin) + 1
                layers[layer].append(
                    (kind, path, text.count("\n", 0, begin) + 1, begin - bol, end - begin,
                     instead.replace("\n", " "), text[bol:text.find("\n", bol)]))
    for layer in layers.values():
        rng.shuffle(layer)
    # In turn, so that a run which is cut short has seen all layers alike.
    turns = itertools.zip_longest(*([(layer, *fault) for fault in faults]
                                    for layer, faults in layers.items()))
    for fault in itertools.islice(filter(None, itertools.chain.from_iterable(turns)), count):
        print(*fault, sep="\t")


def plant(_kind, path, number, column, length, instead, line):
    """Plants it into the nearest such line, as the file may have changed since."""
    lines = read(path).split("\n")
    same = [place for place, its in enumerate(lines) if its == line]
    if not same:
        sys.exit(f"{path} has no such line any more: {line}")
    nearest = min(same, key=lambda place: abs(place + 1 - int(number)))
    begin = sum(len(its) + 1 for its in lines[:nearest]) + int(column)
    text = "\n".join(lines)
    with open(path, "w", encoding="utf-8", newline="") as file:
        file.write(text[:begin] + instead + text[begin + int(length):])


def tell():
    for fault in sys.stdin:
        _, kind, path, number, column, length, instead, line = fault.rstrip("\n").split("\t")
        begin, end = int(column), int(column) + int(length)
        print(f"{path}:{number} ({kind})\n"
              f"    {line[:begin].lstrip()}[{line[begin:end]} -> {instead}]{line[end:]}")


if __name__ == "__main__":
    if sys.argv[1] == "list":
        draw(int(sys.argv[2]), int(sys.argv[3]), sys.argv[4:])
    elif sys.argv[1] == "tell":
        tell()
    else:
        plant(*sys.argv[2:])
