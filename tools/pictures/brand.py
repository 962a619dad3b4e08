"""The program's icon, its images in the tray, and the picture of the start."""

import math

from . import diagram
from .shapes import BLUE, OUTLINE, WHITE, colour, downwards, fill, light, mix, pen, rounded, stroke

FRAMES = 5
TILE_AWAKE, TILE_AT_REST = "#1c6280", "#3f5763"
EDGE = "#9fc3d1"
LANE_LIT, LANE_DIM = "#ffffff", "#a9c0ca"
DROP, DROP_EDGE = "#ffc857", "#7a4b00"
LEFT, RIGHT = 13, 51


# Two lanes lie on a tile: above, data to the server flows to the right; below, data to the client flows to the
# left. A lane at rest is dim. While it works it is lit, and a drop runs along it in four steps. Image
# 5 * below + above + 1 shows the two lanes at their frames, 0 to 4 each; frame 0 is a lane at rest, so a lane
# that has no data stays calm beside one that has. Image 26, the last, is the icon at rest.


def lane(y, frame, to_right):
    """A line with an arrow's head, and the drop upon it."""
    tint = LANE_LIT if frame else LANE_DIM
    tail, head, back = (LEFT, RIGHT, -9) if to_right else (RIGHT, LEFT, 9)
    parts = [
        f'<path d="M{tail} {y}H{head}M{head + back} {y - 8}L{head} {y}L{head + back} {y + 8}" fill="none" '
        f'stroke="{tint}" stroke-width="5" stroke-linecap="round" stroke-linejoin="round"/>'
    ]
    if frame:
        x = tail + (head - tail) * (frame - 1) / (FRAMES - 2)
        parts.append(
            f'<circle cx="{x:g}" cy="{y}" r="8.5" fill="{DROP}" stroke="{DROP_EDGE}" stroke-width="2"/>'
        )
    return parts


def tile_svg(above, below, tile):
    parts = [
        '<svg xmlns="http://www.w3.org/2000/svg" width="64" height="64" viewBox="0 0 64 64">',
        f'<rect x="2" y="2" width="60" height="60" rx="13" fill="{tile}" stroke="{EDGE}" stroke-width="2"/>',
        *lane(21, above, True),
        *lane(43, below, False),
        "</svg>",
    ]
    return ("\n".join(parts) + "\n").encode()


# The 26 images in their order.
TRAY = [(i % FRAMES, i // FRAMES, TILE_AWAKE) for i in range(FRAMES * FRAMES)] + [(0, 0, TILE_AT_REST)]


ICON = """<svg xmlns="http://www.w3.org/2000/svg" width="64" height="64" viewBox="0 0 64 64">
<defs><linearGradient id="tile" x1="0" y1="0" x2="0" y2="1">
<stop offset="0" stop-color="{light}"/><stop offset="1" stop-color="{dark}"/></linearGradient></defs>
<rect x="2" y="2" width="60" height="60" rx="13" fill="url(#tile)" stroke="{rim}" stroke-width="2"/>
{lanes}
</svg>
"""
ICON_SIDE = 64
ICON_SIDES = (16, 22, 24, 32, 48, 64, 128, 256)  # of a desktop's menus and panels
ICON_LIGHT, ICON_DARK, ICON_RIM = "#2b87ab", "#154d66", "#0f3a4e"


def icon_svg():
    """The tile of the tray with both lanes at work, for the larger sizes of a window's icon."""
    lanes = "\n".join(lane(21, 2, True) + lane(43, 2, False))
    return ICON.format(light=ICON_LIGHT, dark=ICON_DARK, rim=ICON_RIM, lanes=lanes).encode()


def icon(c, t=0):
    """The same, drawn, 64 to the side."""
    rounded(c, 2, 2, 60, 60, 13)
    fill(c, downwards(2, 62, colour(ICON_LIGHT), colour(ICON_DARK)), colour(ICON_RIM), 2)
    for y, tail, head, back, x in ((21, LEFT, RIGHT, -9, 25.67), (43, RIGHT, LEFT, 9, 38.33)):
        stroke(c, [(tail, y), (head, y)], WHITE, 5)
        stroke(c, [(head + back, y - 8), (head, y), (head + back, y + 8)], WHITE, 5)
        c.new_sub_path()
        c.arc(x, y, 8.5, 0, 2 * math.pi)
        fill(c, colour(DROP), colour(DROP_EDGE), 2)


# The name, of one line that is as wide everywhere. A letter's pen moves from its left side; heights are counted
# upwards from the base line. Small letters are 20 high, tall ones 30.

BOWL = 10.0


def letter_v(c):
    c.move_to(0, 30)
    c.line_to(12, 0)
    c.line_to(24, 30)
    return 24


def letter_e(c):
    c.move_to(0, BOWL)
    c.line_to(2 * BOWL, BOWL)
    c.arc(BOWL, BOWL, BOWL, 0, math.pi * 1.78)
    return 2 * BOWL


def letter_l(c):
    c.move_to(0, 30)
    c.line_to(0, 0)
    return 0


def letter_t(c):
    c.move_to(5, 27)
    c.line_to(5, 6)
    c.curve_to(5, 2, 7, 0, 12, 0)
    c.move_to(0, 20)
    c.line_to(12, 20)
    return 12


def letter_r(c):
    c.move_to(0, 20)
    c.line_to(0, 0)
    c.move_to(0, 12)
    c.curve_to(1.5, 17.5, 5, 20, 11, 20)
    return 11


def letter_a(c):
    c.new_sub_path()
    c.arc(BOWL, BOWL, BOWL, 0, 2 * math.pi)
    c.move_to(2 * BOWL, 20)
    c.line_to(2 * BOWL, 0)
    return 2 * BOWL


def letter_n(c):
    c.move_to(0, 20)
    c.line_to(0, 0)
    c.move_to(0, 11)
    c.arc_negative(9, 11, 9, math.pi, 0)
    c.line_to(18, 0)
    return 18


NAME = (letter_v, letter_e, letter_l, letter_t, letter_r, letter_a, letter_n, letter_e)
SPACES = (5, 8.5, 6, 7, 4.5, 9, 8.5, 0)


def name(c, x, base, size, tint):
    """Veltrane, from x, on a base line."""
    c.save()
    c.translate(x, base)
    c.scale(size, -size)
    at = 0
    for draw, space in zip(NAME, SPACES):
        c.save()
        c.translate(at, 0)
        at += draw(c) + space
        c.restore()
    pen(c, tint, 4.6)
    c.restore()


# The picture of the start. The version stands in the free band at its foot.

SPLASH = (480, 280)
HEAD = 104
FOOT = 40


def placed(c, x, y, size, draw, t=0.0):
    c.save()
    c.translate(x, y)
    c.scale(size, size)
    draw(c, t)
    c.restore()


def splash(c, t=0):
    width, height = SPLASH
    c.rectangle(0, 0, width, height)
    fill(c, WHITE)
    c.rectangle(0, 0, width, HEAD)
    fill(c, downwards(0, HEAD, colour(ICON_LIGHT), colour(ICON_DARK)))
    c.rectangle(0, height - FOOT, width, FOOT)
    fill(c, light(BLUE, 0.9))
    placed(c, 74, 20, 1.0, icon)
    name(c, 166, 67, 1.22, WHITE)
    # A client, the proxy and a server, and what runs between them.
    size, top = 1.3, 134
    middles = (72, width / 2, width - 72)
    for middle in middles:
        placed(c, middle - 32 * size, top, size, diagram.computer_on)
    for left, right in zip(middles, middles[1:]):
        link = 0.62
        x = (left + right) / 2 - diagram.LINK[0] * link / 2
        placed(c, x, top + 2, link, diagram.data(diagram.TO_SERVER))
        placed(c, x, top + 25, link, diagram.mirrored(diagram.data(diagram.TO_CLIENT)))
    # The proxy sees both ways.
    c.save()
    c.translate(width / 2 - 32 * size, top)
    c.scale(size, size)
    diagram.screen(c, mix(OUTLINE, colour(ICON_DARK), 0.5))
    c.translate(32 - 12.5, 20.5 - 12.5)
    c.scale(25 / 64, 25 / 64)
    icon(c)
    c.restore()
    c.rectangle(0.5, 0.5, width - 1, height - 1)
    c.set_source_rgb(*colour(ICON_RIM))
    c.set_line_width(1)
    c.stroke()
