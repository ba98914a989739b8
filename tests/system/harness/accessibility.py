#!/usr/bin/env python3
"""Inspects a program through AT-SPI, as a screen reader does, on behalf of a test.

    accessibility.py PID [--remember]

The script reads one command per line from standard input. Each command is a JSON list. The script replies
to each command with one line of JSON: {"answer": ...} or {"error": "..."}. The arguments role and name
select the first object of the program that has this role and this name and is shown, or the first one at
all: a camera, for example, has an item in two menus.

    ["tree"]                         the program's objects, each with name, description, role, states,
                                     actions, text and children
    ["find", role, name]             the selected object, without its children
    ["act", role, name, action]      performs an action of the selected object; the tree contains its name
    ["focus", role, name]            requests the keyboard focus for the selected object
    ["focused"]                      the object that got the keyboard focus last, even if it is not in the tree
    ["events"]                       the events since the last call: [kind, detail, role, name]

With --remember the script keeps a cache that it updates from events, as screen readers do. Without this
option, the script queries the program each time.

The environment must contain the address of the session bus, as for every program that uses AT-SPI.
"""

import json
import sys

import pyatspi
from gi.repository import Atspi, GLib

EVENTS = (
    "object:state-changed:focused",
    "object:state-changed:checked",
    "object:state-changed:showing",
    "object:property-change:accessible-name",
    "object:property-change:accessible-description",
    "window:activate",
    "window:deactivate",
)


def role_of(node):
    # AT-SPI 2.53 renamed the role "push button" to "button".
    name = node.getRoleName()
    return "push button" if name == "button" else name


class Program:
    def __init__(self, pid, remembers):
        self.pid = pid
        self.remembers = remembers
        self.events = []
        self.focused = None

    def root(self):
        for application in pyatspi.Registry.getDesktop(0):
            if application is not None and application.get_process_id() == self.pid:
                if not self.remembers:
                    application.set_cache_mask(Atspi.Cache.NONE)
                return application
        raise LookupError("the program is not on the accessibility bus")

    def walk(self, node):
        yield node
        for child in node:
            if child is not None:
                yield from self.walk(child)

    def find(self, role, name):
        nodes = [
            node
            for node in self.walk(self.root())
            if role_of(node) == role and node.name == name
        ]
        for node in nodes:
            if node.getState().contains(pyatspi.STATE_SHOWING):
                return node
        if not nodes:
            raise LookupError(f"there is no {role} {name!r}")
        return nodes[0]

    def note(self, event):
        try:
            if event.host_application.get_process_id() != self.pid:
                return
            if event.type.endswith(":focused") and event.detail1:
                self.focused = event.source
            self.events.append([event.type, event.detail1, role_of(event.source), event.source.name])
        except Exception as problem:  # the object no longer exists
            self.events.append([str(event.type), event.detail1, "", str(problem)])


def actions_of(node):
    try:
        actions = node.queryAction()
    except NotImplementedError:
        return []
    return [actions.getName(index) for index in range(actions.nActions)]


def text_of(node):
    try:
        return node.queryText().getText(0, -1)
    except NotImplementedError:
        return None


def described(node):
    # The state "visible" is left out, because Qt sends no events when it changes. Qt does send events for the
    # state "showing", which also depends on the surroundings of the object.
    states = [pyatspi.stateToString(state) for state in node.getState().getStates()
              if state != pyatspi.STATE_VISIBLE]
    return {"name": node.name, "description": node.description, "role": role_of(node),
            "states": sorted(states), "actions": actions_of(node), "text": text_of(node)}


def tree(node):
    answer = described(node)
    answer["children"] = [tree(child) for child in node if child is not None]
    return answer


def act(node, action):
    names = actions_of(node)
    if action not in names:
        raise LookupError(f"the actions are {names}")
    return node.queryAction().doAction(names.index(action))


def answer(program, command, *arguments):
    if command == "tree":
        return tree(program.root())
    if command == "find":
        return described(program.find(*arguments))
    if command == "act":
        return act(program.find(*arguments[:2]), arguments[2])
    if command == "focus":
        return program.find(*arguments).queryComponent().grabFocus()
    if command == "focused":
        return described(program.focused)
    if command == "events":
        events, program.events = program.events, []
        return events
    raise LookupError(f"there is no command {command!r}")


def main():
    Atspi.set_timeout(20000, 60000)  # in milliseconds; a busy machine replies slowly
    program = Program(int(sys.argv[1]), "--remember" in sys.argv)
    pyatspi.Registry.registerEventListener(program.note, *EVENTS)

    def read(_channel, _condition):
        line = sys.stdin.readline()
        if not line:
            pyatspi.Registry.stop()
            return False
        try:
            reply = {"answer": answer(program, *json.loads(line))}
        except Exception as problem:
            reply = {"error": f"{type(problem).__name__}: {problem}"}
        print(json.dumps(reply), flush=True)
        return True

    GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, read)
    print(json.dumps({"answer": "ready"}), flush=True)
    pyatspi.Registry.start()


if __name__ == "__main__":
    main()
