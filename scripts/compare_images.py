#!/usr/bin/python3
"""Compares the PNGs that Arcavera's image reader wrote with Pillow's own
decoding of the original BLP and TGA files, Pillow's being the reference.

    compare_images.py ORIGINALS_DIR OURS_DIR

For each ORIGINALS_DIR/<path>.blp or .tga, OURS_DIR/<path>.png is our
decoding of it. One line an image: its name, whether the sizes agree, the
mean absolute difference of the red, green and blue channels (0-255) and of
the alpha, with a note where Pillow has no alpha to compare. Then a summary.
The exit status is 1 when a size differs, a PNG is missing or a mean colour
difference is above 3.

Pillow 9.4 reads the four-channel JPEG of BLP1 textures (blue, green, red,
alpha) as CMYK and mixes the alpha into the colours. Those are compared with
Pillow's JPEG decoder instead, each channel taken as stored. Its DXT decoder
widens 5:6:5 colours without repeating the top bits and rounds down, which
leaves ours about 3 brighter on average; such lines say so.
"""
import io
import struct
import sys
from pathlib import Path

from PIL import Image, ImageChops, ImageStat, JpegImagePlugin

COLOUR_LIMIT = 3.0
EXTENSIONS = (".blp", ".tga")


def blp1_jpeg_reference(data):
    """The image of a BLP1 JPEG texture, channels as stored; None for others."""
    if data[:4] != b"BLP1" or struct.unpack_from("<I", data, 4)[0] != 0:
        return None
    alpha_bits = struct.unpack_from("<I", data, 8)[0]
    offset, size = struct.unpack_from("<I", data, 28)[0], struct.unpack_from("<I", data, 92)[0]
    header_size = struct.unpack_from("<I", data, 156)[0]
    jpeg = JpegImagePlugin.JpegImageFile(io.BytesIO(data[160:160 + header_size] + data[offset:offset + size]))
    if jpeg.mode == "CMYK":
        # As Pillow's BLP reader does: the four channels without inversion
        # or colour transform.
        name, extents, at, args = jpeg.tile[0]
        jpeg.tile = [(name, extents, at, ("CMYK", "CMYK"))]
    bands = jpeg.split()
    if len(bands) == 1:
        return jpeg.convert("RGBA")
    blue, green, red = bands[:3]
    alpha = bands[3] if len(bands) == 4 and alpha_bits > 0 else Image.new("L", jpeg.size, 255)
    return Image.merge("RGBA", (red, green, blue, alpha))


def reference(path):
    """Pillow's RGBA image of `path`, whether it has alpha, and a note."""
    data = path.read_bytes()
    try:
        image = blp1_jpeg_reference(data)
    except (OSError, struct.error, SyntaxError):
        image = None
    if image is not None:
        return image, True, "BLP1 JPEG compared with Pillow's JPEG decoder"
    dxt = data[:4] == b"BLP2" and len(data) > 8 and data[8] == 2
    with Image.open(io.BytesIO(data)) as opened:
        opened.load()
        has_alpha = "A" in opened.mode or "transparency" in opened.info or (
            opened.mode == "P" and opened.palette is not None and opened.palette.mode == "RGBA")
        return opened.convert("RGBA"), has_alpha, "Pillow's DXT colours are widened short" if dxt else ""


def mean(image):
    return sum(ImageStat.Stat(image).mean) / len(image.getbands())


def compare(original, ours_path):
    """One line for one image, and whether it passes, and its colour difference."""
    try:
        theirs, has_alpha, note = reference(original)
    except Exception as error:  # whatever Pillow raises for a file it cannot read
        return f"Pillow cannot read it ({error}); skipped", True, None
    if not ours_path.is_file():
        return "our PNG is missing", False, None
    with Image.open(ours_path) as png:
        ours = png.convert("RGBA")
    if ours.size != theirs.size:
        return f"sizes differ: ours {ours.size[0]}x{ours.size[1]}, Pillow's {theirs.size[0]}x{theirs.size[1]}", False, None
    colour = mean(ImageChops.difference(ours.convert("RGB"), theirs.convert("RGB")))
    ours_alpha = ours.getchannel("A")
    if has_alpha:
        alpha = f"alpha {mean(ImageChops.difference(ours_alpha, theirs.getchannel('A'))):.2f}"
    else:
        opaque = ours_alpha.getextrema()[0] == 255
        alpha = "alpha: Pillow has none" + ("" if opaque else ", ours is not opaque")
    notes = "; ".join(n for n in (alpha, note) if n)
    line = f"size {ours.size[0]}x{ours.size[1]} same, colour {colour:.2f}, {notes}"
    return line, colour <= COLOUR_LIMIT, colour


def main(argv):
    if len(argv) != 3:
        print("usage: compare_images.py ORIGINALS_DIR OURS_DIR", file=sys.stderr)
        return 2
    originals, ours = Path(argv[1]), Path(argv[2])
    files = sorted(p for p in originals.rglob("*") if p.is_file() and p.suffix.lower() in EXTENSIONS)
    compared = size_mismatches = failures = 0
    worst, worst_name = 0.0, "-"
    for original in files:
        relative = original.relative_to(originals)
        line, passed, colour = compare(original, (ours / relative).with_suffix(".png"))
        print(f"{relative}: {line}")
        failures += not passed
        size_mismatches += line.startswith("sizes differ")
        if colour is not None:
            compared += 1
            if colour >= worst:
                worst, worst_name = colour, str(relative)
    print(f"compared {compared} images, {size_mismatches} size mismatches, "
          f"worst mean colour difference {worst:.2f} ({worst_name})")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
