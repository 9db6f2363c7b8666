"""Draws the clips: sheets of paper that fly from one device to the other, over and over.

A clip is made of drawings on the grid of its whole picture, clip-cable.svg, clip-computer.svg and
clip-handheld.svg, and of the sheets clip-sheet-*.svg, each around the point 0,0. Shapes of the class "arrival" are
hidden but while a sheet reaches their device, those of the class "departure" but while one leaves it. The clips suit
the animation control: frames compressed as RLE8, the first one whole, around which the dialog shows through.
"""

import functools
import struct
from collections import Counter
from xml.etree import ElementTree

from .images import ART, color_table, info_header, pixels, render

SIZE = (272, 60)
FRAMES = 32
RATE = 5  # frames a second
FLIGHT = 18  # frames from one device to the other
GLOW = 3  # frames that a light is on
EARLY = 2  # of them, frames before the arrival

CLIPS = {  # where sheets leave, where they arrive
    "send": ("computer", "handheld"),
    "receive": ("handheld", "computer"),
}
PLACES = {"computer": (33, 31), "handheld": (247, 31)}  # a sheet here is hidden by the device
RISE = 18  # pixels from there up to the middle of a sheet's way
TILT = 12  # degrees

BACKGROUND = bytes.fromhex("F0F0F0")  # transparent in the control, and no eyesore elsewhere
COLORS = 256
NEAR = 8  # colors closer than this in each channel become one
RLE8 = 1
LONGEST_RUN = 255
KEY_FRAME = 0x10
HAS_INDEX = 0x10


def inner(name):
    """What an SVG file draws, without the element around it."""
    shapes = ElementTree.parse(ART / name).getroot()
    return "".join(ElementTree.tostring(shape, encoding="unicode") for shape in shapes)


def pose(start, end, done):
    """The place and the tilt of a sheet that has this part of its way behind it, from 0 to 1."""
    (x0, y0), (x1, y1) = PLACES[start], PLACES[end]
    x = round(x0 + (x1 - x0) * done)
    y = round(y0 + (y1 - y0) * done - RISE * 4 * done * (1 - done))
    tilt = TILT * (2 * done - 1) * (1 if x1 > x0 else -1)
    return f"translate({x} {y}) rotate({tilt:.3f})"


def drawing(start, end, frame):
    """A frame as SVG."""
    sheets = sorted(ART.glob("clip-sheet-*.svg"))
    parts, style = [inner("clip-cable.svg")], ""
    for number, sheet in enumerate(sheets):
        age = (frame - number * FRAMES // len(sheets)) % FRAMES
        if age < FLIGHT:
            parts.append(f'<g transform="{pose(start, end, age / FLIGHT)}">{inner(sheet.name)}</g>')
        for event, device, since in (("departure", start, age), ("arrival", end, age - FLIGHT + EARLY)):
            if 0 <= since < GLOW:
                style += f"#{device} .{event} {{ visibility: visible }}\n"
    for device in PLACES:
        parts.append(f'<g id="{device}">{inner(f"clip-{device}.svg")}</g>')
    head = f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {SIZE[0]} {SIZE[1]}">'
    hidden = ".arrival, .departure { visibility: hidden }\n"
    return f"{head}<style>{hidden}{style}</style>{''.join(parts)}</svg>".encode()


def solid(row):
    """The colors of a row, None for the background. Edges are hard: a soft one would be a halo in a dialog."""
    return [p[:3] if p[3] >= 128 else None for p in pixels(row)]


def distance(a, b):
    return max(abs(x - y) for x, y in zip(a, b))


def indexes(frames):
    """A palette for all frames, the background first, and for each color its place there."""
    counts = Counter(color for frame in frames for row in frame for color in row if color)
    colors = sorted(counts, key=lambda color: (-counts[color], color))
    palette = [BACKGROUND]
    for color in colors:
        # None is near the background either: it must not become transparent on a display of few colors.
        if len(palette) < COLORS and all(distance(color, other) >= NEAR for other in palette):
            palette.append(color)
    places = {color: min(range(1, len(palette)), key=lambda i: distance(color, palette[i])) for color in colors}
    return palette, places | {None: 0}


@functools.cache
def packed_row(row):
    """The shortest RLE8 code of a row, without its end."""
    runs = []
    for index in row:
        if runs and runs[-1][0] == index and len(runs[-1]) < LONGEST_RUN:
            runs[-1] += bytes((index,))
        else:
            runs.append(bytes((index,)))
    best = [b""]
    for end in range(1, len(runs) + 1):
        codes = [best[-1] + bytes((len(runs[end - 1]), runs[end - 1][0]))]
        literal = b""
        for start in range(end - 1, -1, -1):
            literal = runs[start] + literal
            if len(literal) > LONGEST_RUN:
                break
            if len(literal) > 2:  # the codes of shorter ones mean something else
                codes.append(best[start] + bytes((0, len(literal))) + literal + bytes(len(literal) % 2))
        best.append(min(codes, key=len))
    return best[-1]


def changed_row(row, prior):
    """The code of what differs from the prior frame's row, without its end; none when nothing does."""
    if row == prior:
        return b""
    differing = [x for x in range(len(row)) if row[x] != prior[x]]
    skipped, code = differing[0], b""
    while skipped:
        step = min(skipped, LONGEST_RUN)
        code += bytes((0, 2, step, 0))
        skipped -= step
    return code + packed_row(row[differing[0] : differing[-1] + 1])


def packed(frame, prior):
    """A frame of index rows: all of it, or with a prior frame what has changed since."""
    if prior is None:
        rows = [packed_row(row) for row in reversed(frame)]
    else:
        rows = [changed_row(*pair) for pair in zip(reversed(frame), reversed(prior))]
    return b"\0\0".join(rows) + b"\0\1"


def chunk(name, body):
    return struct.pack("<4sI", name, len(body)) + body + bytes(len(body) % 2)


def chunk_list(name, *chunks):
    return chunk(b"LIST", name + b"".join(chunks))


def avi(frames, palette):
    """An AVI file of RLE8 frames."""
    count, (width, height), largest = len(frames), SIZE, max(len(frame) for frame in frames)
    movie, index = b"", b""
    for frame in frames:
        flags = 0 if movie else KEY_FRAME
        index += struct.pack("<4sIII", b"00dc", flags, 4 + len(movie), len(frame))
        movie += chunk(b"00dc", frame)
    main = (1000000 // RATE, largest * RATE, 0, HAS_INDEX, count, 0, 1, largest, width, height, 0, 0, 0, 0)
    stream = (0, 0, 0, 1, RATE, 0, count, largest, 0xFFFFFFFF, 0, 0, 0, width, height)
    colors = palette + [bytes(3)] * (COLORS - len(palette))
    picture = info_header(width, height, 8, width * height, COLORS, RLE8) + color_table(colors)
    headers = chunk_list(
        b"hdrl",
        chunk(b"avih", struct.pack("<14I", *main)),
        chunk_list(
            b"strl",
            chunk(b"strh", b"vidsMRLE" + struct.pack("<10I4h", *stream)),
            chunk(b"strf", picture),
        ),
    )
    return chunk(b"RIFF", b"AVI " + headers + chunk_list(b"movi", movie) + chunk(b"idx1", index))


def clip(name):
    frames = []
    for frame in range(FRAMES):
        rows = render(f"{name}, frame {frame}", SIZE, drawing=drawing(*CLIPS[name], frame))
        frames.append([solid(row) for row in rows])
    palette, places = indexes(frames)
    drawn = [[bytes(places[color] for color in row) for row in frame] for frame in frames]
    return avi([packed(*pair) for pair in zip(drawn, [None] + drawn)], palette)
