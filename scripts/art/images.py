"""What all kinds of artwork share: drawing SVG, reading and writing pictures, the 16-color palette."""

import pathlib
import struct
import subprocess
import sys
import zlib

RESOURCES = pathlib.Path(__file__).resolve().parent.parent.parent / "src" / "resources"
ART = RESOURCES / "art"

PALETTE = [
    bytes.fromhex(color)
    for color in (
        "000000 800000 008000 808000 000080 800080 008080 808080 "
        "C0C0C0 FF0000 00FF00 FFFF00 0000FF FF00FF 00FFFF FFFFFF"
    ).split()
]
TRANSPARENT = PALETTE.index(b"\xff\x00\xff")
WHITE = PALETTE.index(b"\xff\xff\xff")


def fail(message):
    sys.exit(f"make-art: {message}")


def unfilter(data, height, stride, step):
    """Takes the filters off the inflated rows of a PNG file."""
    rows, prior = [], bytearray(stride)
    for y in range(height):
        at = y * (stride + 1)
        kind, row = data[at], bytearray(data[at + 1 : at + 1 + stride])
        for i in range(stride):
            a = row[i - step] if i >= step else 0
            b = prior[i]
            if kind == 1:
                guess = a
            elif kind == 2:
                guess = b
            elif kind == 3:
                guess = (a + b) // 2
            elif kind == 4:
                c = prior[i - step] if i >= step else 0
                guess = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
            else:
                break
            row[i] = (row[i] + guess) & 255
        rows.append(bytes(row))
        prior = row
    return rows


def read_png(data):
    """The size of a PNG image and its rows of RGBA bytes."""
    at, packed = 8, b""
    while at < len(data):
        size, name = struct.unpack_from(">I4s", data, at)
        body = data[at + 8 : at + 8 + size]
        at += size + 12
        if name == b"IHDR":
            width, height, depth, kind, _, _, interlaced = struct.unpack(">IIBBBBB", body)
        elif name == b"IDAT":
            packed += body
    if depth != 8 or kind not in (2, 6) or interlaced:
        fail("rsvg-convert made a kind of PNG that this script does not read")
    step = 4 if kind == 6 else 3
    rows = unfilter(zlib.decompress(packed), height, width * step, step)
    if step == 3:
        rows = [b"".join(row[i : i + 3] + b"\xff" for i in range(0, len(row), 3)) for row in rows]
    return (width, height), rows


def write_png(size, rows):
    """A PNG file of rows of RGBA bytes, with nothing in it that depends on time or machine."""

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))

    lines, prior = b"", bytes(len(rows[0]))
    for row in rows:
        left = bytes(4) + row[:-4]
        choices = (
            b"\0" + row,
            b"\1" + bytes((v - p) & 255 for v, p in zip(row, left)),
            b"\2" + bytes((v - p) & 255 for v, p in zip(row, prior)),
        )
        lines += min(choices, key=lambda line: sum(min(v, 256 - v) for v in line[1:]))
        prior = row
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", *size, 8, 6, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(lines, 9))
        + chunk(b"IEND", b"")
    )


def render(source, size, stylesheet=None, drawing=None):
    """The rows of RGBA bytes of an SVG file, or of a drawing that is in none, at a size in pixels."""
    name = source if drawing else source.name
    command = ["rsvg-convert", "--format=png", f"--width={size[0]}", f"--height={size[1]}"]
    if stylesheet:
        command.append(f"--stylesheet={stylesheet}")
    if not drawing:
        command.append(str(source))
    done = subprocess.run(command, input=drawing, capture_output=True, check=False)
    if done.returncode:
        fail(f"{name}: {done.stderr.decode(errors='replace').strip()}")
    got, rows = read_png(done.stdout)
    if got != tuple(size):
        fail(f"{name} came out at {got[0]}x{got[1]} pixels instead of {size[0]}x{size[1]}")
    return rows


def pixels(row):
    return [row[i : i + 4] for i in range(0, len(row), 4)]


def padded(row):
    return row + bytes(-len(row) % 4)


def color_table(palette):
    return b"".join(bytes((c[2], c[1], c[0], 0)) for c in palette)


def info_header(width, height, bits, size, colors=0, compression=0):
    return struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, compression, size, 0, 0, colors, colors)
