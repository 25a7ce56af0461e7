# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The stage of the end-to-end tests and of the demonstration.

A virtual display with a window manager and an accessibility bus (display), rehearsal servers
(servers), and the program as an operator meets it (program, banks): found through the accessibility
tree, driven by real mouse and key events.
"""
