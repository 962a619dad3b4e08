"""The pictures of the connection diagram, which saved reports show as well.

Each function draws one frame at a time t of its loop, 0 to 1, and 1 is 0 again. Frame 0 is what stands where
animation is switched off, so it must tell the kind of step by itself. Clients stand on the left, servers on the
right: what goes to a server is blue and moves to the right, what goes to a client is green and moves to the left.
"""

import math

import cairo

from .shapes import (
    AMBER, BLACK, BLUE, GREEN, GREY, GREY_EDGE, LINE, OUTLINE, RED, WHITE, YELLOW, YELLOW_EDGE, badge, cross, dark,
    disc, downwards, faded, fill, light, mix, pen, polygon, power, rounded, scaled, smooth, step, stroke, swing,
)

COMPUTER = (64, 56)
# The computer that failed has no label, and its picture takes the label's place.
FAILED = (64, 80)
# The cloud's upper part stays empty: the label of the row above may stand there.
CLOUD = (112, 104)
LINK = (128, 48)

TO_SERVER, TO_CLIENT = BLUE, GREEN
MIDDLE = LINK[1] / 2
LEFT, RIGHT = 4.0, LINK[0] - 4.0

SCREEN_OFF = mix(OUTLINE, BLACK, 0.12)
SCREEN_ON = light(BLUE, 0.42)
SCREEN = (9, 6.5, 46, 28)


# Computers.


def case(c):
    polygon(c, [(26, 39), (38, 39), (40.5, 49), (23.5, 49)])
    fill(c, downwards(39, 47, dark(GREY, 0.22), GREY), OUTLINE, 1.6)
    rounded(c, 14.5, 48, 35, 5.5, 2.7)
    fill(c, downwards(47, 54, WHITE, GREY), OUTLINE, 1.6)
    rounded(c, 4, 2, 56, 39, 5)
    fill(c, downwards(2, 41, WHITE, GREY), OUTLINE, 1.9)


def screen(c, tint):
    x, y, w, h = SCREEN
    rounded(c, x, y, w, h, 2.5)
    fill(c, downwards(y, y + h, light(tint, 0.16), dark(tint, 0.05)), OUTLINE, 1.4)


def on_screen(c):
    """Keeps what is drawn next within the screen."""
    x, y, w, h = SCREEN
    rounded(c, x + 0.7, y + 0.7, w - 1.4, h - 1.4, 2)
    c.clip()


def text(c, share):
    for row, length in enumerate((20, 32, 26, 12)):
        part = min(1.0, max(0.0, 4 * share - row))
        if part > 0:
            y = 12.3 + 5.5 * row
            stroke(c, [(15, y), (15 + length * part, y)], WHITE, 2.2)


def lamp(c, tint):
    disc(c, 51.5, 37.7, 1.2)
    fill(c, tint)


def computer_on(c, t):
    case(c)
    screen(c, SCREEN_ON)
    text(c, 1)
    lamp(c, GREEN)


def computer_coming_on(c, t):
    """Its switch lights up, then its screen, then text runs over it."""
    lit = step(t, 0.22, 0.34)
    case(c)
    screen(c, mix(SCREEN_OFF, SCREEN_ON, lit))
    with faded(c, 1 - lit):
        with scaled(c, 32, 21, 1 + 0.12 * swing(t / 0.3) if t < 0.3 else 1):
            power(c, 32, 21, 7.2, light(GREEN, 0.3), 3)
    text(c, step(t, 0.36, 0.6) * (1 - step(t, 0.96, 1)))
    lamp(c, GREEN)


def computer_going_off(c, t):
    """Its picture falls into a line and a point, and the switch is left."""
    case(c)
    screen(c, SCREEN_OFF)
    lamp(c, RED)
    c.save()
    on_screen(c)
    flat, narrow = step(t, 0.2, 0.36), step(t, 0.34, 0.46)
    back = step(t, 0.92, 1)
    w, h = 46 * (1 - narrow), 28 - 26.4 * flat
    if w > 0.5 and back == 0:
        rounded(c, 32 - w / 2, 20.5 - h / 2, w, h, min(2.5, h / 2, w / 2))
        fill(c, mix(SCREEN_ON, WHITE, 0.9 * flat))
    if back > 0:
        with faded(c, back):
            rounded(c, *SCREEN, 2.5)
            fill(c, SCREEN_ON)
    with faded(c, 1 - step(t, 0.12, 0.2) + back):
        disc(c, 32, 20.5, 11)
        fill(c, WHITE)
        power(c, 32, 21.2, 6, RED, 2.8)
    with faded(c, step(t, 0.5, 0.62) * (1 - back)):
        power(c, 32, 21, 7.2, mix(RED, WHITE, 0.15), 3)
    c.restore()


def failed(c, t):
    """A computer that cannot be talked to."""
    case(c)
    screen(c, mix(RED, dark(RED, 0.25), swing(t)))
    cross(c, 32, 20.5, 7.5, WHITE, 4.6)
    lamp(c, RED)


def failed_tall(c, t):
    failed(c, t)
    with scaled(c, 32, 69, 1 + 0.1 * swing(t)):
        polygon(c, [(32, 59.5), (43, 77), (21, 77)])
        fill(c, mix(AMBER, YELLOW, 0.55), dark(AMBER, 0.25), 2)
        stroke(c, [(32, 65.5), (32, 70.5)], OUTLINE, 2.6)
        stroke(c, [(32, 74.1), (32, 74.2)], OUTLINE, 2.6)


def cloud(c, t):
    puffs = ((33, 73, 19), (50, 53, 22), (74, 58, 18), (86, 74, 18))
    for more, paint in ((1.2, OUTLINE), (-1.2, downwards(32, 92, WHITE, light(BLUE, 0.62)))):
        for x, y, r in puffs:
            disc(c, x, y, r + more)
        c.rectangle(33, 66, 53, 26 + more)
        fill(c, paint)
    # A globe's lines: what lies behind is the net.
    c.save()
    c.translate(58, 70)
    colour = light(BLUE, 0.25)
    for share in (1.0, 0.42):
        c.save()
        c.scale(share, 1)
        disc(c, 0, 0, 14.5)
        c.restore()
        pen(c, colour, 1.8)
    for y, w in ((0, 14.5), (-7.5, 12.2), (7.5, 12.2)):
        stroke(c, [(-w, y), (w, y)], colour, 1.8)
    c.restore()


def cloud_small(c, t):
    """The cloud at a computer's size."""
    c.scale(0.62, 0.62)
    c.translate(-5, -22)
    cloud(c, t)


# Links.


def wire(c, begin=LEFT, end=RIGHT, tint=LINE):
    stroke(c, [(begin, MIDDLE), (end, MIDDLE)], tint, 3.2)


def head(c, tint, tip=RIGHT):
    polygon(c, [(tip, MIDDLE), (tip - 12, MIDDLE - 8), (tip - 9, MIDDLE), (tip - 12, MIDDLE + 8)])
    fill(c, tint, dark(tint, 0.2), 1.2)


def packet(c, x, tint, share=1.0, y=MIDDLE):
    """A packet around x that points to where it goes; share is its size, 0 to 1."""
    if share < 0.12:
        return
    with scaled(c, x, y, share):
        polygon(c, [(x - 10, y - 7.5), (x + 5.5, y - 7.5), (x + 11.5, y), (x + 5.5, y + 7.5), (x - 10, y + 7.5)])
        fill(c, downwards(y - 7.5, y + 7.5, light(tint, 0.3), tint), dark(tint, 0.28), 1.5)
        stroke(c, [(x - 6, y - 2.4), (x + 3.4, y - 2.4)], WHITE, 1.7)
        stroke(c, [(x - 6, y + 2.4), (x + 0.4, y + 2.4)], WHITE, 1.7)


def mirrored(draw):
    """What flows to the server, flowing to the client."""

    def mirror(c, t):
        c.translate(LINK[0], 0)
        c.scale(-1, 1)
        draw(c, t)

    return mirror


def bolt_path(c):
    polygon(c, [(3, 21), (60, 4), (54, 16), (91, 8), (83, 20.5), (125, 27), (68, 44), (74, 32), (37, 40), (45, 27.5)])


def bolt(c, above, below, edge):
    bolt_path(c)
    fill(c, downwards(6, 42, above, below), edge, 1.8)


def glint(c, t):
    """A light that runs along the bolt."""
    c.save()
    bolt_path(c)
    c.clip()
    x = -40 + 208 * t
    shine = cairo.LinearGradient(x - 22, 0, x + 22, 0)
    for place, opacity in ((0, 0), (0.5, 0.9), (1, 0)):
        shine.add_color_stop_rgba(place, 1, 1, 1, opacity)
    c.set_source(shine)
    c.paint()
    c.restore()
    bolt_path(c)
    pen(c, YELLOW_EDGE, 1.8)


def lightning_bolt(c, t):
    bolt(c, light(YELLOW, 0.35), mix(YELLOW, AMBER, 0.35), YELLOW_EDGE)
    glint(c, t)


def lightning_bolt_grey(c, t):
    share = 0.55 * swing(t)
    bolt(c, light(GREY, 0.45), mix(dark(GREY, 0.06), WHITE, share), light(GREY_EDGE, share * 0.5))


def lightning_bolt_x(c, t):
    bolt(c, light(YELLOW, 0.55), light(YELLOW, 0.1), light(YELLOW_EDGE, 0.2))
    with scaled(c, LINK[0] / 2, MIDDLE, 1 + 0.1 * swing(t)):
        badge(c, LINK[0] / 2, MIDDLE, 15, RED)
        cross(c, LINK[0] / 2, MIDDLE, 5.8, WHITE, 4.2)


def data(tint):
    run = 38.0

    def draw(c, t):
        wire(c, end=RIGHT - 10, tint=light(tint, 0.55))
        head(c, tint)
        for i in range(-1, 4):
            x = run * (i + 0.35 + t)
            packet(c, x, tint, smooth((x - 2) / 14) * smooth((LINK[0] - 17 - x) / 16))

    return draw


def throttled(tint):
    """A wide pipe full of packets that a narrow one lets through, one at a time and slowly."""

    def draw(c, t):
        stroke(c, [(96, MIDDLE), (RIGHT - 10, MIDDLE)], light(tint, 0.55), 3.2)
        head(c, tint)
        walls = [(4, 6), (58, 6), (76, 16.5), (99, 16.5), (99, 31.5), (76, 31.5), (58, 42), (4, 42)]
        polygon(c, walls)
        fill(c, light(AMBER, 0.84))
        through, onward = step(t, 0.0, 0.7), step(t, 0.6, 1)
        x = 60 + 54 * through
        packet(c, x, tint, (1 - 0.38 * step(x, 58, 78)) * (1 - step(x, 102, 114)))
        packet(c, 12, tint, step(onward, 0.4, 1))
        for at in (12, 36):
            packet(c, at + 24 * onward, tint)
        for half in (walls[:4], walls[:3:-1]):
            stroke(c, half, dark(AMBER, 0.12), 3.2)

    return draw


def bay(c, edge, draw_packets):
    """A place on the way where packets wait; its far end is shut."""
    rounded(c, 22, 11, 74, 26, 5)
    fill(c, light(edge, 0.84))
    draw_packets()
    c.move_to(20, 10)
    c.line_to(91, 10)
    c.arc(91, 15, 5, -math.pi / 2, 0)
    c.arc(91, 33, 5, 0, math.pi / 2)
    c.line_to(20, 38)
    pen(c, edge, 2.8)


def piling_up(c, tint, t):
    """Three packets come in one after another. The loop begins with two in and one on its way."""
    t = (t + 0.58) % 1
    leaving = 1 - step(t, 0.94, 1)
    for i, place in enumerate((80, 56.5, 33)):
        begin = 0.02 + 0.24 * i
        x = 12 + (place - 12) * step(t, begin, begin + 0.24)
        packet(c, x, tint, step(t, begin - 0.02, begin + 0.06) * leaving)


def buffering(tint):
    """Packets wait because the way on is busy."""

    def draw(c, t):
        wire(c, end=22, tint=light(tint, 0.55))
        bay(c, OUTLINE, lambda: piling_up(c, tint, t))
        waits(c, t)

    return draw


def dangling(tint):
    """Packets wait because the way on is held."""

    def draw(c, t):
        wire(c, end=22, tint=light(tint, 0.55))
        bay(c, AMBER, lambda: piling_up(c, tint, t))
        with scaled(c, 110, MIDDLE, 1 + 0.1 * swing(t * 2)):
            pause(c, 110, 12)

    return draw


def waits(c, t):
    """The way on is busy: points that come and go."""
    for i in range(3):
        disc(c, 104 + 9.5 * i, MIDDLE, 3.1)
        fill(c, mix(light(GREY, 0.2), OUTLINE, swing(t * 2 - i / 4)))


def pause(c, x, r):
    badge(c, x, MIDDLE, r, AMBER)
    for side in (-1, 1):
        w, h = r * 0.3, r * 0.98
        rounded(c, x + side * r * 0.31 - w / 2, MIDDLE - h / 2, w, h, w / 3)
        fill(c, WHITE)


def play(c, x, r, tint):
    badge(c, x, MIDDLE, r, tint)
    polygon(c, [(x - r * 0.32, MIDDLE - r * 0.5), (x - r * 0.32, MIDDLE + r * 0.5), (x + r * 0.58, MIDDLE)])
    fill(c, WHITE, WHITE, 1.5)


def ends(c, gap, tint):
    """A cable that is parted by a gap around its middle, with a plug and a socket at the ends."""
    x = LINK[0] / 2
    wire(c, end=x - gap, tint=tint)
    wire(c, begin=x + gap, tint=tint)
    if gap > 3:
        grown = smooth((gap - 3) / 8)
        for side in (-1, 1):
            with scaled(c, x + side * gap, MIDDLE, grown):
                at = x + side * gap
                rounded(c, at - 4.5, MIDDLE - 8, 9, 16, 2.5)
                fill(c, downwards(MIDDLE - 8, MIDDLE + 8, light(tint, 0.4), tint), OUTLINE, 1.5)


def dangle_starts(c, t):
    """The cable parts, and a pause stands between."""
    apart = 1 - step(t, 0.62, 0.7) + step(t, 0.84, 0.94)
    ends(c, 27 * apart, mix(TO_SERVER, GREY_EDGE, 0.5 + 0.5 * apart))
    if apart > 0.05:
        with scaled(c, LINK[0] / 2, MIDDLE, apart * (1 + 0.08 * swing(t * 4) * (t < 0.5))):
            pause(c, LINK[0] / 2, 16)


def dangle_stops(c, t):
    """The cable is whole again, and things go on."""
    apart = step(t, 0.6, 0.68) - step(t, 0.84, 0.94)
    ends(c, 27 * apart, mix(GREEN, GREY_EDGE, apart))
    x = LINK[0] / 2
    with scaled(c, x, MIDDLE, 1 + 0.08 * swing(t * 4) * (t < 0.5)):
        if apart < 0.5:
            play(c, x, 16, mix(GREEN, AMBER, apart * 2))
        else:
            pause(c, x, 16)


# The proxy at work, in the corner of the main window and in the about box.

PROCESSING = (58, 50)


def processing(c, t):
    """Two lanes, to the server above and to the client below, with packets on them."""
    for y, tint, back in ((14.5, TO_SERVER, False), (35.5, TO_CLIENT, True)):
        c.save()
        c.translate(0, y - MIDDLE)
        if back:
            c.translate(PROCESSING[0], 0)
            c.scale(-1, 1)
        stroke(c, [(4, MIDDLE), (46, MIDDLE)], light(tint, 0.5), 3.6)
        polygon(c, [(55, MIDDLE), (45, MIDDLE - 7), (47.5, MIDDLE), (45, MIDDLE + 7)])
        fill(c, tint, tint, 1.2)
        for i in (0, 1):
            x = 26 * (i + t) - 3
            packet(c, x, tint, 0.9 * smooth((x - 1) / 9) * smooth((40 - x) / 9))
        c.restore()
