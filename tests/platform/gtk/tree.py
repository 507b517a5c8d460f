#!/usr/bin/python3
"""tree.py PID: what assistive technology sees of a process's windows, a widget a line: its role, its
name in quotes, and which of "focused" and "sensitive" it is."""

import sys

import pyatspi
from gi.repository import GLib

SHOWN = {pyatspi.STATE_FOCUSED: "focused", pyatspi.STATE_SENSITIVE: "sensitive"}


def show(node):
    if node is None:
        return
    states = [word for state, word in SHOWN.items() if node.getState().contains(state)]
    print(node.getRoleName(), f"'{node.name}'", *states)
    for child in node:
        show(child)


try:
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.get_process_id() == int(sys.argv[1]):
            show(application)
except GLib.GError:
    sys.exit(1)  # something went away meanwhile
