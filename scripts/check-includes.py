#!/usr/bin/env python3
"""Checks what the files under src/ include: every room only those below it, and no circles.

The link graph alone does not see to that: src/ is on every include path, so that a header with
inline code from a higher room would compile and link in a lower one.
"""
import os
import re
import sys

FILES = ["Platform/Realtime", "Platform/Files"]
SERVER = FILES + ["Platform/PipeWire"]
SYSTEM = ["Platform/System"]
MODELS = ["Models", "Utils"]
PLATFORM = SERVER + SYSTEM + ["Platform/Sound", "Platform/Midi"]
# A room's files include those of the same room and of these.
ROOMS = {
    "Platform/Realtime": [],
    "Platform/Files": [],
    "Platform/PipeWire": FILES,
    "Platform/Sound": SERVER,
    "Platform/Midi": SERVER,
    "Platform/System": FILES,
    "Models": PLATFORM + MODELS,
    "Utils": PLATFORM + MODELS,
    "Audio": PLATFORM + MODELS,
    "ViewModels": PLATFORM + MODELS + ["Audio"],
    "Style": SYSTEM,
    "Views": PLATFORM + MODELS + ["Audio", "ViewModels", "Style"],
    "SystemDevices.h": PLATFORM,
    "CommandLine.h": [],
    "CommandLine.cpp": SYSTEM + ["CommandLine.h"],
    "TessivoApp.cpp": PLATFORM + MODELS + ["Audio", "ViewModels", "Style", "Views",
                                           "SystemDevices.h", "CommandLine.h"],
}
# ThreadSanitizer can judge these only without Qt.
WITHOUT_QT = SERVER + ["Platform/Sound", "Platform/Midi"]
# The engine and its nodes use these rooms, and not the other way round.
ENGINE_PARTS = re.compile(r"Platform/Sound/(Render|Decode|Tap|File|Device)/")
ENGINE = re.compile(r"Platform/Sound/Audio(Engine\w*|\w*Node)\.h")
# The engine hands its takes to the recorder, which asks the engine for its tap.
MAY_CIRCLE = {"Audio/SimpleAudioEngine", "Audio/SimpleRecorder"}


def room_of(path):
    fitting = [room for room in ROOMS if path == room or path.startswith(room + "/")]
    return fitting[0] if fitting else None


def included(path):
    """The names that the file includes; those of ours from src/ on."""
    with open(path, encoding="utf-8") as file:
        for name in re.findall(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', file.read(), re.MULTILINE):
            beside = os.path.normpath(os.path.join(os.path.dirname(path), name))
            yield beside if os.path.isfile(beside) else name


def imported(path):
    with open(path, encoding="utf-8") as file:
        return re.findall(r"^\s*import\s+([\w.]+)", file.read(), re.MULTILINE)


def fault_of(file, name):
    """Why the file may not include that, or None."""
    room = room_of(file)
    if room in WITHOUT_QT and re.match(r"Qt?[A-Z]", name):
        return "has no Qt"
    if os.path.isfile(name) and room_of(name) not in [room, *ROOMS[room]]:
        return f"lies below {room_of(name)}"
    if ENGINE_PARTS.match(file) and ENGINE.fullmatch(name):
        return "lies below the engine and its nodes"
    return None


def circles(uses):
    """The sets of units that reach each other: Tarjan's algorithm."""
    order, low, stack, found = {}, {}, [], []

    def visit(unit):
        order[unit] = low[unit] = len(order)
        stack.append(unit)
        for used in sorted(uses[unit]):
            if used not in order:
                visit(used)
            if used in stack:
                low[unit] = min(low[unit], low[used])
        if low[unit] == order[unit]:
            members = stack[stack.index(unit):]
            del stack[-len(members):]
            found.append(members)

    for unit in sorted(uses):
        if unit not in order:
            visit(unit)
    return [members for members in found if len(members) > 1]


def main():
    os.chdir(os.path.join(os.path.dirname(__file__), "..", "src"))
    files = sorted(os.path.relpath(os.path.join(folder, name))
                   for folder, _, names in os.walk(".") for name in names)
    faults = []
    uses = {}
    for file in files:
        if file.endswith((".h", ".cpp")):
            if room_of(file) is None:
                faults.append(f"{file} is in no room that check-includes.py knows")
                continue
            # A header and its source are one unit.
            unit = uses.setdefault(os.path.splitext(file)[0], set())
            for name in included(file):
                if why := fault_of(file, name):
                    faults.append(f"{file} includes {name}: its room {why}")
                if os.path.isfile(name):
                    used = os.path.splitext(name)[0]
                    unit.add(used)
                    uses.setdefault(used, set())
        elif file.endswith(".qml") and file.startswith("Style/"):
            faults += [f"{file} imports {name}: Style knows nothing of the windows"
                       for name in imported(file)
                       if name.split(".")[0] == "Tessivo" and name != "Tessivo.Style"]
    for members in circles(uses):
        if set(members) != MAY_CIRCLE:
            faults.append(f"include each other in a circle: {', '.join(sorted(members))}")
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
