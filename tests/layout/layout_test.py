"""Includes run one way through the rooms of the house, and no file comes back to itself.

Usage: layout_test.py PROJECT_FOLDER
"""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))

# Each room, and the rooms that its files may include from, beside itself.
HEADER = "include/brenholt"
PLATFORM = ["platform"]
RECORDS = ["discovery", HEADER] + PLATFORM
LINK = ["link"] + RECORDS
ARROWS = {
    HEADER: [],
    "tools/host": [HEADER],
    "tools/panel": [HEADER],
    "tools/screenshots": LINK + ["dialogs", "platform/window"],
    "examples": [HEADER],
    "commands": LINK,
    "dialogs": LINK + ["platform/window"],
    "link": RECORDS,
    "discovery": [HEADER] + PLATFORM,
    "platform": [],
    "platform/common": PLATFORM,
    "platform/posix": PLATFORM,
    "platform/window": PLATFORM,
    "platform/qt": ["platform/window"],
}
# The class of the link is one, but its members are defined in the room of their family.
SOURCES_MAY_ALSO = {"discovery": ["link"]}
# The doors: single files that lead the other way.
DOORS = {"discovery/select_target.cpp": "dialogs", "discovery/show_panel_list.cpp": "dialogs",
         "platform/posix/window_backend.cpp": "platform/window"}
# What only the rooms behind the contracts know.
SYSTEM = re.compile(r"^(sys/|linux/|netinet/|arpa/|net/|unicode/|winsock2|ws2|iphlpapi|windows|"
                    r"(dlfcn|fcntl|pthread|semaphore|unistd|poll|ifaddrs)\.h$)")
ABOVE_SYSTEM = [HEADER, "commands", "dialogs", "link", "discovery", "platform", "platform/common", "platform/window"]
KNOW_TOOLKIT = ["platform/qt", "tools/screenshots"]
TOOLKIT = re.compile(r"^(Q[A-Z]|q[a-z]+\.h$|xcb/|X11/)")


def room_of(path):
    folder = path.rpartition("/")[0]
    while folder and folder not in ARROWS:
        folder = folder.rpartition("/")[0]
    return folder


def circles(graph):
    """A text for each include that leads back to a file that is being included."""
    found, state = [], {}

    def visit(path, road):
        state[path] = "open"
        for target in graph.get(path, []):
            if state.get(target) == "open":
                found.append("circle: " + " -> ".join(road[road.index(target):] + [target]))
            elif target not in state:
                visit(target, road + [target])
        state[path] = "done"

    for path in graph:
        if path not in state:
            visit(path, [path])
    return found


def faults(files):
    """What is wrong with `files`, a dictionary from paths to texts."""
    found, graph = [], {}
    for path, text in sorted(files.items()):
        room = room_of(path)
        if not room:
            found.append(f"{path}: a room without arrows")
            continue
        allowed = [room] + ARROWS[room]
        if not path.endswith(".h"):
            allowed += SOURCES_MAY_ALSO.get(room, [])
        graph[path] = []
        for opening, name in re.findall(r'^\s*#\s*include\s*([<"])([^>"]+)', text, re.MULTILINE):
            target = f"include/{name}" if name.startswith("brenholt/") else name
            if opening == "<" and target not in files:
                if TOOLKIT.match(name) and room not in KNOW_TOOLKIT:
                    found.append(f"{path}: <{name}> belongs into platform/qt")
                if SYSTEM.match(name) and room in ABOVE_SYSTEM:
                    found.append(f"{path}: <{name}> is the system's")
            elif target not in files:
                found.append(f"{path}: {name} is not written from the project's folder")
            elif room_of(target) not in allowed and DOORS.get(path) != room_of(target):
                found.append(f"{path}: {room} must not know {name}")
            else:
                graph[path].append(target)
    return found + circles(graph)


class Layout(unittest.TestCase):
    def test_finds_what_runs_against_the_arrows(self):
        for path, included, fault in [
                ("platform/file.cpp", '"link/tv_udp.h"', "must not know"),
                ("platform/qt/backend.cpp", '"platform/text.h"', "must not know"),
                ("link/tv_udp.h", '"commands/listing.h"', "must not know"),
                ("discovery/tv_ping.h", '"link/tv_udp.h"', "must not know"),
                ("discovery/target.cpp", '"dialogs/a.h"', "must not know"),
                ("tools/host/main.cpp", '"tools/panel/wire.h"', "must not know"),
                ("link/a.h", '"link/a.h"', "circle: link/a.h -> link/a.h"),
                ("link/a.h", '"a.h"', "not written from"),
                ("link/a.h", "<QString>", "belongs into"),
                ("platform/socket.h", "<netinet/in.h>", "is the system's"),
                ("platform/posix/socket.cpp", "<netinet/in.h>", None),
                ("tools/new/a.h", "<vector>", "without arrows"),
                ("discovery/target.cpp", '"link/tv_udp.h"', None),
                ("discovery/select_target.cpp", '"dialogs/a.h"', None),
                ("examples/host.c", '"brenholt/brenholt.h"', None),
                ("examples/host.c", "<brenholt/brenholt.h>", None)]:
            rooms = ["link/tv_udp.h", "platform/text.h", "commands/listing.h", "dialogs/a.h",
                     "tools/panel/wire.h", "include/brenholt/brenholt.h"]
            found = faults({**dict.fromkeys(rooms, ""), path: f"#include {included}\n"})
            self.assertEqual(len(found), 1 if fault else 0, (path, included, found))
            self.assertIn(fault or "", "".join(found))

    def test_the_tree(self):
        files = {}
        for floor in {room.split("/")[0] for room in ARROWS}:
            for path in (ROOT / floor).rglob("*"):
                if path.suffix in (".h", ".c", ".cpp"):
                    files[path.relative_to(ROOT).as_posix()] = path.read_text()
        self.assertGreater(len(files), 100)
        self.assertEqual(faults(files), [], "\n" + "\n".join(faults(files)))


if __name__ == "__main__":
    unittest.main()
