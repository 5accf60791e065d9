#!/usr/bin/python3
"""Bitmaps read alike by rasterkit, Pillow and ImageMagick, whoever wrote them.

    other_readers.py PATH-OF-rasterkit

Writes bitmaps of every kind in three ways, has each read by all programs that know the kind, and compares the pixels:
those that rasterkit writes, those that the other two write, and blocks put together field by field. Samples of fewer
than 8 bits may differ by 1, since programs round them differently.
"""
import io
import random
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

from PIL import Image

CONVERT = "/usr/bin/convert"
SIZES = [(1, 1), (7, 5), (33, 20)]
compared = 0
failures = []


def by_pillow(path):
    image = Image.open(path)
    has_alpha = image.mode in ("RGBA", "LA")
    return image.size, image.convert("RGBA").tobytes(), has_alpha


def by_imagemagick(path):
    out = subprocess.run([CONVERT, path, "-depth", "8", "png32:-"], check=True, capture_output=True).stdout
    return by_pillow(io.BytesIO(out))


def by_rasterkit(path):
    png = path.with_suffix(".rasterkit.png")
    subprocess.run([TOOL, "run", path, "-o", png], check=True, capture_output=True)
    return by_pillow(png)


READERS = {"Pillow": by_pillow, "ImageMagick": by_imagemagick, "rasterkit": by_rasterkit}


def compare(name, path, wanted=None, tolerance=0, without=(), alpha=True):
    """All readers of the file against the wanted pixels, or against rasterkit's."""
    global compared
    size, expected = wanted or by_rasterkit(path)[:2]
    for reader, read in READERS.items():
        if reader in without:
            continue
        try:
            its_size, pixels, _ = read(path)
        except (OSError, subprocess.CalledProcessError) as error:
            failures.append(f"{name}: {reader} does not read it: {error}")
            continue
        compared += 1
        wrong = [i for i, (a, b) in enumerate(zip(pixels, expected))
                 if abs(a - b) > tolerance and (alpha or i % 4 != 3)]
        if its_size != size or wrong:
            first = wrong[0] if wrong else 0
            failures.append(f"{name}: {reader} reads {its_size} with {len(wrong)} other samples, the first at {first}: "
                            f"{pixels[first:first + 4].hex()} instead of {expected[first:first + 4].hex()}")


def pictures(mode):
    """Random pictures of a Pillow mode."""
    for width, height in SIZES:
        if mode == "P" or mode.startswith("P"):
            colours = int(mode[1:] or 256)
            image = Image.frombytes("P", (width, height), bytes(dice.randrange(colours) for _ in range(width * height)))
            image.putpalette(dice.randbytes(3 * colours))
        elif mode == "1":
            image = Image.frombytes("L", (width, height), bytes(dice.choice((0, 255)) for _ in range(width * height)))
            image = image.convert("1")
        else:
            image = Image.frombytes(mode, (width, height), dice.randbytes(width * height * len(mode)))
        yield f"{mode} {width} x {height}", image


def written_by_rasterkit(folder):
    for mode in ("1", "L", "RGB", "RGBA", "P", "P16"):
        for name, image in pictures(mode):
            png, bmp = folder / "in.png", folder / "ours.bmp"
            image.save(png)
            subprocess.run([TOOL, "run", png, "-o", bmp], check=True, capture_output=True)
            # 32 bits of this header have no alpha for other readers.
            compare(f"rasterkit's {name}", bmp, by_pillow(png)[:2], alpha=mode != "RGBA")


def written_by_pillow(folder):
    for mode in ("1", "L", "RGB", "RGBA", "P", "P16"):
        for name, image in pictures(mode):
            bmp = folder / "pillow.bmp"
            image.save(bmp)
            compare(f"Pillow's {name}", bmp, (image.size, image.convert("RGBA").tobytes()), alpha=mode != "RGBA")


def written_by_imagemagick(folder):
    kinds = [("1", ["-monochrome"], 0), ("P16", ["-type", "Palette"], 0), ("P", ["-type", "Palette"], 0),
             ("L", [], 0), ("P", ["-type", "Palette", "-compress", "RLE"], 0), ("L", ["-compress", "RLE"], 0),
             ("RGB", ["-type", "TrueColor"], 0), ("RGBA", ["-type", "TrueColorAlpha"], 0),
             ("RGB", ["-type", "TrueColor", "-define", "bmp:subtype=RGB555"], 1),
             ("RGB", ["-type", "TrueColor", "-define", "bmp:subtype=RGB565"], 1)]
    for mode, options, tolerance in kinds:
        for name, image in pictures(mode):
            for version in ("bmp2", "bmp3", "bmp"):
                if version == "bmp2" and (mode == "RGBA" or "RLE" in options):
                    continue
                if version != "bmp" and tolerance:  # its masks do not fit the rest of such a file
                    continue
                png, bmp = folder / "in.png", folder / "magick.bmp"
                image.save(png)
                subprocess.run([CONVERT, png, *options, f"{version}:{bmp}"], check=True, capture_output=True)
                size, pixels, _ = by_imagemagick(bmp)
                compare(f"ImageMagick's {version} {name} {' '.join(options)}", bmp, (size, pixels), tolerance,
                        alpha=mode != "RGBA" or version == "bmp")


def expanded(value, mask):
    shift = (mask & -mask).bit_length() - 1
    most = mask >> shift
    return ((value & mask) >> shift) * 255 // most if mask else 0


def put_together(folder):
    """Every header, depth and order of rows; masks; run-length data."""
    def head(size, width, height, bits, compression, data, colours, masks=()):
        if size == 12:
            block = struct.pack("<IHHHH", 12, width, height, 1, bits)
        else:
            block = struct.pack("<IiiHHIIiiII", size, width, height, 1, bits, compression, len(data), 0, 0, 0, 0)
            block += b"".join(struct.pack("<I", mask) for mask in masks)
            block = block.ljust(size, b"\0")
        block += b"".join(colour if size == 12 else colour + b"\0" for colour in colours)
        start = 14 + len(block)
        return b"BM" + struct.pack("<IHHI", start + len(data), 0, 0, start) + block + data

    masks16 = {"5-6-5": (0xF800, 0x7E0, 0x1F), "5-5-5": (0x7C00, 0x3E0, 0x1F)}
    masks32 = {"usual": (0xFF0000, 0xFF00, 0xFF), "reversed": (0xFF, 0xFF00, 0xFF0000)}
    for size in (12, 40, 52, 56, 108, 124):
        for bits in (1, 4, 8, 16, 24, 32):
            if size == 12 and bits in (16, 32):
                continue
            for width, height in SIZES[1:]:
                for order in (1, -1):
                    if size == 12 and order < 0:
                        continue
                    stride = (width * bits + 31) // 32 * 4
                    rows = [bytearray(dice.randbytes(stride)) for _ in range(height)]
                    colours = [dice.randbytes(3) for _ in range(1 << bits)] if bits <= 8 else []
                    layouts = {"no masks": ()}
                    if bits in (16, 32) and size >= 40:
                        layouts.update(masks16 if bits == 16 else masks32)
                    for layout, masks in layouts.items():
                        if bits == 16 and not masks:
                            used = masks16["5-5-5"]
                        else:
                            used = masks or masks32["usual"]
                        pixels = bytearray()
                        for row in rows:
                            for x in range(width):
                                if bits <= 8:
                                    blue, green, red = colours[row[x * bits // 8] >> (8 - bits - x * bits % 8) & (1 << bits) - 1]
                                elif bits == 24:
                                    blue, green, red = row[3 * x:3 * x + 3]
                                else:
                                    value = int.from_bytes(row[x * bits // 8:(x + 1) * bits // 8], "little")
                                    red, green, blue = (expanded(value, mask) for mask in used)
                                pixels += bytes((red, green, blue, 255))
                        data = b"".join(rows if order < 0 else reversed(rows))
                        path = folder / "made.bmp"
                        path.write_bytes(head(size, width, height * order, bits, 3 if masks else 0, data, colours, masks))
                        without = set()
                        if size in (52, 56):  # ImageMagick 6 takes these headers for others, Pillow refuses them
                            without = {"ImageMagick", "Pillow"}
                        if layout == "reversed" or (bits == 16 and not masks):
                            without.add("Pillow")
                        compare(f"{size}-byte header, {bits} bits, {layout}, {width} x {height * order}", path,
                                ((width, height), bytes(pixels)), 1 if bits == 16 else 0, without, alpha=False)

    for bits in (4, 8):
        colours = [dice.randbytes(3) for _ in range(1 << bits)]
        for width, height in SIZES:
            data, indices = bytearray(), []
            for y in range(height):
                row = []
                while len(row) < width:
                    left = width - len(row)
                    if left > 3 and dice.randrange(2):  # pixels one by one
                        count = dice.randrange(3, min(left, 9) + 1)
                        run = [dice.randrange(1 << bits) for _ in range(count)]
                        packed = bytes(run) if bits == 8 else bytes(
                            run[i] << 4 | (run[i + 1] if i + 1 < count else 0) for i in range(0, count, 2))
                        data += bytes((0, count)) + packed + b"\0" * (len(packed) % 2)
                    else:
                        count = dice.randrange(1, left + 1)
                        byte = dice.randrange(256)
                        run = [byte if bits == 8 else byte >> 4 if i % 2 == 0 else byte & 15 for i in range(count)]
                        data += bytes((count, byte))
                    row += run
                data += b"\0\0" if y + 1 < height else b"\0\1"
                indices.append(row)
            pixels = b"".join(colours[i][::-1] + b"\xff" for row in reversed(indices) for i in row)
            path = folder / "runs.bmp"
            path.write_bytes(head(40, width, height, bits, 1 if bits == 8 else 2, bytes(data), colours))
            # Pillow reads some runs of 4 bits as nobody else does.
            compare(f"runs of {bits} bits, {width} x {height}", path, ((width, height), pixels),
                    without={"Pillow"} if bits == 4 else ())


TOOL = Path(sys.argv[1]).resolve()
dice = random.Random(1)
with tempfile.TemporaryDirectory() as name:
    for part in (written_by_rasterkit, written_by_pillow, written_by_imagemagick, put_together):
        before = compared
        part(Path(name))
        print(f"{part.__name__.replace('_', ' ')}: {compared - before} readings")
for failure in failures[:40]:
    print(failure)
print(f"{compared} readings, {len(failures)} differ")
sys.exit(bool(failures) or compared == 0)
