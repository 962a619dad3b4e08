"""Colours and shapes that all pictures share. Lengths are in pixels of the plain size; c is a cairo context."""

import math

import cairo


def colour(text):
    return tuple(int(text[i : i + 2], 16) / 255 for i in (1, 3, 5))


WHITE, BLACK = colour("#ffffff"), colour("#000000")
OUTLINE = colour("#3b4a5e")
LINE = colour("#aab5c3")
GREY, GREY_EDGE = colour("#ccd3dc"), colour("#8893a2")
# The accents of the toolbar's pictures.
BLUE, GREEN, RED, AMBER = colour("#2f7fd1"), colour("#2e9e5b"), colour("#d8453f"), colour("#d9951a")
YELLOW, YELLOW_EDGE = colour("#ffc93c"), colour("#b57a00")


def mix(one, other, share):
    share = min(1.0, max(0.0, share))
    return tuple(a + (b - a) * share for a, b in zip(one, other))


def light(one, share):
    return mix(one, WHITE, share)


def dark(one, share):
    return mix(one, BLACK, share)


def smooth(t):
    """0 up to t = 0, 1 from t = 1, and no jolt between."""
    t = min(1.0, max(0.0, t))
    return t * t * (3 - 2 * t)


def step(t, begin, end):
    """How far t has come on the way from begin to end."""
    return smooth((t - begin) / (end - begin))


def swing(t):
    """0 at the ends of a loop, 1 in its middle."""
    return 0.5 - 0.5 * math.cos(2 * math.pi * t)


def downwards(top, bottom, above, below):
    """A paint that goes from one colour to another between two heights."""
    paint = cairo.LinearGradient(0, top, 0, bottom)
    paint.add_color_stop_rgb(0, *above)
    paint.add_color_stop_rgb(1, *below)
    return paint


def fill(c, paint, edge=None, width=1.5):
    """Fills the path, with a colour or a paint, and draws its edge."""
    if isinstance(paint, tuple):
        c.set_source_rgb(*paint)
    else:
        c.set_source(paint)
    if edge is None:
        c.fill()
        return
    c.fill_preserve()
    c.set_source_rgb(*edge)
    c.set_line_width(width)
    c.set_line_join(cairo.LINE_JOIN_ROUND)
    c.stroke()


def rounded(c, x, y, w, h, r):
    c.new_sub_path()
    c.arc(x + w - r, y + r, r, -math.pi / 2, 0)
    c.arc(x + w - r, y + h - r, r, 0, math.pi / 2)
    c.arc(x + r, y + h - r, r, math.pi / 2, math.pi)
    c.arc(x + r, y + r, r, math.pi, 1.5 * math.pi)
    c.close_path()


def disc(c, x, y, r):
    c.new_sub_path()
    c.arc(x, y, r, 0, 2 * math.pi)


def polygon(c, points):
    c.move_to(*points[0])
    for point in points[1:]:
        c.line_to(*point)
    c.close_path()


def stroke(c, points, colour, width):
    c.move_to(*points[0])
    for point in points[1:]:
        c.line_to(*point)
    pen(c, colour, width)


def pen(c, colour, width):
    """Draws the path as a line with round ends."""
    c.set_source_rgb(*colour)
    c.set_line_width(width)
    c.set_line_cap(cairo.LINE_CAP_ROUND)
    c.set_line_join(cairo.LINE_JOIN_ROUND)
    c.stroke()


def cross(c, x, y, size, colour, width):
    stroke(c, [(x - size, y - size), (x + size, y + size)], colour, width)
    stroke(c, [(x - size, y + size), (x + size, y - size)], colour, width)


def power(c, x, y, size, colour, width):
    """The sign of a power switch."""
    c.new_sub_path()
    c.arc(x, y, size, -math.pi / 2 + 0.75, 1.5 * math.pi - 0.75)
    pen(c, colour, width)
    stroke(c, [(x, y - size * 1.15), (x, y - size * 0.15)], colour, width)


def badge(c, x, y, r, colour):
    """A round sign that stands off from what lies beneath."""
    disc(c, x, y, r + 2)
    fill(c, WHITE)
    disc(c, x, y, r)
    fill(c, downwards(y - r, y + r, light(colour, 0.22), colour), dark(colour, 0.22), 1.4)


class faded:
    """What is drawn within appears with this opacity."""

    def __init__(self, c, opacity):
        self.c, self.opacity = c, min(1.0, max(0.0, opacity))

    def __enter__(self):
        self.c.push_group()

    def __exit__(self, *_):
        self.c.pop_group_to_source()
        self.c.paint_with_alpha(self.opacity)


class scaled:
    """What is drawn within is scaled around a point."""

    def __init__(self, c, x, y, share):
        self.c, self.x, self.y, self.share = c, x, y, max(0.001, share)

    def __enter__(self):
        self.c.save()
        self.c.translate(self.x, self.y)
        self.c.scale(self.share, self.share)
        self.c.translate(-self.x, -self.y)

    def __exit__(self, *_):
        self.c.restore()
