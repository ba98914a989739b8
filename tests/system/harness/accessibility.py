#!/usr/bin/env python3
"""Looks at a program through AT-SPI, as a screen reader does, and answers a test's questions.

    accessibility.py PID [--remember]

reads one command a line, a JSON list, and answers each with one line of JSON: {"answer": ...} or
{"error": "..."}. "Name" and "role" name the first object of the program that has both.

    ["tree"]                         the program's objects, each with name, description, role, states,
                                     actions, text and children
    ["find", role, name]             that object, without its children
    ["act", role, name, action]      performs an action of it, named as in the tree
    ["focus", role, name]            asks for the keyboard to come to it
    ["focused"]                      the object that got the keyboard last, in the tree or not
    ["events"]                       what has happened since the last time: [kind, detail, role, name]

With --remember it goes by what it was told once and by the news since, as screen readers do; without, it
asks the program again each time.

It needs the session's bus in the environment, as every program with AT-SPI does.
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
    # A push button is called a button from AT-SPI 2.53 on.
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
        for node in self.walk(self.root()):
            if role_of(node) == role and node.name == name:
                return node
        raise LookupError(f"there is no {role} {name!r}")

    def note(self, event):
        try:
            if event.host_application.get_process_id() != self.pid:
                return
            if event.type.endswith(":focused") and event.detail1:
                self.focused = event.source
            self.events.append([event.type, event.detail1, role_of(event.source), event.source.name])
        except Exception as problem:  # an object that has gone since
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
    # Whether something could be seen, were it not for what surrounds it: the toolkit has no news of that, but
    # of what is shown.
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
    Atspi.set_timeout(20000, 60000)  # milliseconds; a busy machine takes its time
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
