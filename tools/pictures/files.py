"""Writes pictures as the files that the program reads: AVI, BMP, GIF and PNG, none of them with a time in it."""

import io
import struct

import cairo
from PIL import Image

COLOURS = 63  # of a GIF, one more is transparent
# Of an animation.
FULL_COLOURS, SOFT_COLOURS = 144, 64


def frame(size, scale, draw, t):
    """One frame as an RGBA image; size is in pixels of the plain size."""
    width, height = (round(side * scale) for side in size)
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, width, height)
    context = cairo.Context(surface)
    context.scale(scale, scale)
    draw(context, t)
    surface.flush()
    picture = Image.frombytes("RGBa", (width, height), bytes(surface.get_data()), "raw", "BGRa", surface.get_stride())
    return picture.convert("RGBA")


def frames(size, scale, draw, count):
    return [frame(size, scale, draw, i / count) for i in range(count)]


def png(picture):
    buffer = io.BytesIO()
    picture.save(buffer, "PNG", optimize=True)
    return buffer.getvalue()


def strip(pictures, mode):
    """All frames one above the other."""
    width, height = pictures[0].size
    whole = Image.new(mode, (width, height * len(pictures)))
    for i, picture in enumerate(pictures):
        whole.paste(picture, (0, height * i))
    return whole


def share_colours(pictures):
    """The frames with one palette, so that nothing flickers. Most of its colours are for the full points: of those
    with an alpha, which are edges, PIL makes but a coarse choice."""
    whole = strip(pictures, "RGBA")
    soft = whole.getchannel("A").point(lambda alpha: 255 if alpha < 255 else 0)
    full = whole.convert("RGB")
    full.paste(max(entry for entry in whole.getcolors(1 << 24) if entry[1][3] == 255)[1][:3], mask=soft)
    full = full.quantize(FULL_COLOURS, method=Image.Quantize.MEDIANCUT, kmeans=3, dither=Image.Dither.NONE)
    edges = whole.copy()
    edges.paste((0, 0, 0, 0), mask=soft.point(lambda value: 255 - value))
    edges = edges.quantize(SOFT_COLOURS, method=Image.Quantize.FASTOCTREE)

    full_palette = full.getpalette("RGB")[: 3 * FULL_COLOURS]
    first = len(full_palette) // 3
    full.paste(edges.point(lambda index: min(255, index + first)), mask=soft)
    soft_palette = edges.getpalette("RGBA")[: 4 * SOFT_COLOURS]
    full.putpalette(full_palette + [part for i in range(0, len(soft_palette), 4) for part in soft_palette[i : i + 3]])
    full.info["transparency"] = bytes([255] * first + soft_palette[3::4])
    width, height = pictures[0].size
    return [full.crop((0, height * i, width, height * (i + 1))) for i in range(len(pictures))]


def chunk(name, content):
    return name + struct.pack("<I", len(content)) + content + b"\0" * (len(content) % 2)


def chunk_list(name, kind, *parts):
    return chunk(name, kind + b"".join(parts))


def avi(pictures, rate):
    """RIFF AVI with one video stream of PNG frames (handler MPNG), rate frames a second, and an index."""
    width, height = pictures[0].size
    coded = [png(picture) for picture in share_colours(pictures)]
    longest, count = max(map(len, coded)), len(coded)
    has_index, key_frame = 0x10, 0x10
    header = struct.pack("<14I", round(1_000_000 / rate), longest * rate, 0, has_index, count, 0, 1, longest, width,
                         height, 0, 0, 0, 0)
    stream = b"vids" + b"MPNG" + struct.pack("<IHHIIIIIIiI4H", 0, 0, 0, 0, 1, rate, 0, count, longest, -1, 0, 0, 0,
                                             width, height)
    form = struct.pack("<IiiHH4sIiiII", 40, width, height, 1, 32, b"MPNG", width * height * 4, 0, 0, 0, 0)
    index, at = b"", 4
    for code in coded:
        index += b"00dc" + struct.pack("<III", key_frame, at, len(code))
        at += 8 + len(code) + len(code) % 2
    return chunk_list(b"RIFF", b"AVI ",
                      chunk_list(b"LIST", b"hdrl", chunk(b"avih", header),
                                 chunk_list(b"LIST", b"strl", chunk(b"strh", stream), chunk(b"strf", form))),
                      chunk_list(b"LIST", b"movi", *(chunk(b"00dc", code) for code in coded)),
                      chunk(b"idx1", index))


def bmp(picture):
    """A bitmap of 32 bits a pixel whose header (version 4) names the bits of its alpha."""
    width, height = picture.size
    pixels = picture.transpose(Image.Transpose.FLIP_TOP_BOTTOM).tobytes("raw", "BGRA")
    start, bit_fields = 14 + 108, 3
    dots_a_metre = 5669  # 144 an inch: two pixels for each of the plain size
    header = struct.pack("<IiiHHIIiiII4I4s48x", 108, width, height, 1, 32, bit_fields, len(pixels), dots_a_metre,
                         dots_a_metre, 0, 0, 0xFF0000, 0xFF00, 0xFF, 0xFF000000, b"BGRs")
    return b"BM" + struct.pack("<IHHI", start + len(pixels), 0, 0, start) + header + pixels


def gif(pictures, rate):
    """A loop over white. All frames share their colours, so that nothing flickers."""
    over_white, empty = [], []
    for picture in pictures:
        page = Image.new("RGBA", picture.size, (255, 255, 255, 255))
        page.alpha_composite(picture)
        over_white.append(page.convert("RGB"))
        empty.append(picture.getchannel("A").point(lambda alpha: 255 if alpha == 0 else 0))
    palette = strip(over_white, "RGB").quantize(COLOURS, dither=Image.Dither.NONE)
    images = []
    for page, mask in zip(over_white, empty):
        image = page.quantize(palette=palette, dither=Image.Dither.NONE)
        image.paste(COLOURS, mask=mask)
        images.append(image)
    moving = {}
    if len(images) > 1:
        # A GIF counts in hundredths of a second.
        moving = {"save_all": True, "append_images": images[1:], "loop": 0, "disposal": 2,
                  "duration": round(100 / rate) * 10}
    buffer = io.BytesIO()
    images[0].save(buffer, "GIF", transparency=COLOURS, optimize=False, **moving)
    return buffer.getvalue()
