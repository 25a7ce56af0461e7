# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Libraries on disk, laid out as a rehearsal server finds them at its start."""

MAGENTA, GREEN, CYAN = b"\xf0\x10\xd0", b"\x10\xe0\x20", b"\x10\xd0\xf0"


def picture(color, width=128, height=96):
    """The bytes of a picture of one colour, given as three bytes."""
    return b"P6 %d %d 255\n" % (width, height) + color * (width * height)


def lay_out(directory, visuals):
    """Writes a table from (folder, slot) to the name of a file and its bytes."""
    for (folder, slot), (name, content) in visuals.items():
        place = directory / f"{folder:03d}" / f"{slot:03d}"
        place.mkdir(parents=True)
        (place / name).write_bytes(content)


def clips(folder, slots):
    """A tiny file for each slot; no two are the same."""
    return {(folder, slot): (f"Clip {slot}.bin", b"%d/%d" % (folder, slot)) for slot in slots}
