"""Writes the picture files of the reader tests with other tools and, beside each, the values
those tools read from it.

usage: make_image_variants.py FOLDER pil|tifffile|magick

Every file is tiny. FOLDER/manifest.txt gets one line per file:
    read NAME FORMAT TYPE COLOURTYPE FRAMES TOLERANCE
        NAME must read as FORMAT into a volume of TYPE (uc, i or f: the data type the check
        reports), COLOURTYPE (1 or 2) and FRAMES frames, equal to NAME.ref within TOLERANCE.
        NAME.ref holds the values frame after frame, row after row, the samples of a pixel
        together: bytes for uc, little-endian int32 for i, little-endian float32 for f.
    refuse NAME FORMAT STATUS
        the check of NAME must give STATUS.
pil: files written by the Python Imaging Library and read back by it; tifffile: files written
by tifffile from arrays (the reference is the array); magick: files written by ImageMagick's
convert and read by PIL (or, where PIL cannot read them, by ImageMagick).
"""
import os
import struct
import subprocess
import sys

import numpy as np

folder, tool = sys.argv[1], sys.argv[2]
manifest = open(os.path.join(folder, 'manifest.txt'), 'w')
H, W = 7, 13


def path(name):
    return os.path.join(folder, name)


def ramp(channels, scale=1, offset=0, dtype=np.uint8):
    """A pattern with every kind of neighbour: (H, W) or (H, W, channels)."""
    y, x = np.mgrid[0:H, 0:W]
    planes = [(x * (37 + 11 * c) + y * (19 + 5 * c) + 7 * c * x * y) % 256 for c in range(channels)]
    a = np.stack(planes, axis=-1) * scale + offset
    return (a[..., 0] if channels == 1 else a).astype(dtype)


def read(name, fmt, values, colortype, frames=1, tolerance=0, check=None, into=None):
    """values: frames x rows x pixels (x samples). The check must report the data type `check`
    (default: uc for unsigned values, i for signed, f for floating point), and the file is read
    into a volume of type `into` (default: the same)."""
    values = np.asarray(values)
    check = check or {'u': 'uc', 'b': 'uc', 'i': 'i', 'f': 'f'}[values.dtype.kind]
    into = into or ('i' if values.dtype.kind == 'u' and values.dtype.itemsize > 1 else check)
    values.astype({'uc': '<u1', 'i': '<i4', 'f': '<f4'}[into]).tofile(path(name + '.ref'))
    manifest.write('read %s %s %s %s %d %d %g\n' % (name, fmt, check, into, colortype, frames, tolerance))


def refuse(name, fmt, status):
    manifest.write('refuse %s %s %d\n' % (name, fmt, status))


def pil_frames(name, colortype):
    """Every frame PIL reads from a file, as grey or RGB bytes."""
    from PIL import Image, ImageSequence
    im = Image.open(path(name))
    return np.stack([np.asarray(f.convert('L' if colortype == 1 else 'RGB'))
                     for f in ImageSequence.Iterator(im)])


def lzw_literals(indices, min_size):
    """An LZW stream of literals only (a clear code before every other one keeps it short)."""
    clear, width, acc, bits, data = 1 << min_size, min_size + 1, 0, 0, bytearray()
    codes = []
    for i, index in enumerate(indices):
        codes += [clear, index] if i % 2 == 0 else [index]
    for code in codes + [clear + 1]:
        acc, bits = acc | code << bits, bits + width
        while bits >= 8:
            data.append(acc & 255)
            acc, bits = acc >> 8, bits - 8
    if bits:
        data.append(acc)
    blocks = b''.join(bytes([len(data[i:i + 255])]) + data[i:i + 255] for i in range(0, len(data), 255))
    return bytes([min_size]) + blocks + b'\0'


def hand_made_gif():
    """Disposals 2 and 3, local colour tables, transparency, images smaller than the screen."""
    grey4 = bytes(v for i in range(4) for v in (i * 60, i * 60 + 5, 255 - i * 60))
    local = bytes(v for i in range(4) for v in (200, i * 50, 30))

    def control(disposal, transparent=None):
        flags = disposal << 2 | (transparent is not None)
        return b'\x21\xf9\x04' + bytes([flags, 0, 0, transparent or 0, 0])

    def image(x, y, w, h, seed, table=None):
        indices = [(seed * 7 + i * 3 + i // w) % 4 for i in range(w * h)]
        flags = bytes([0x81]) if table else b'\0'
        return (b'\x2c' + struct.pack('<HHHH', x, y, w, h) + flags + (table or b'') +
                lzw_literals(indices, 2))

    g = b'GIF89a' + struct.pack('<HH', W, H) + bytes([0x81, 2, 0]) + grey4
    g += control(1, 3) + image(2, 1, 6, 4, 1)
    g += control(2, 0) + image(5, 2, 8, 5, 2, local)
    g += control(3) + image(0, 0, 13, 3, 3)
    g += control(2) + image(9, 4, 4, 3, 4)
    g += control(1, 1) + image(0, 0, 13, 7, 5)
    open(path('gif_hand.gif'), 'wb').write(g + b'\x3b')
    read('gif_hand.gif', 'gif', pil_frames('gif_hand.gif', 2), 2, 5)


def pil_files():
    from PIL import Image
    rgb = Image.fromarray(ramp(3))
    grey = Image.fromarray(ramp(1))
    # animated GIFs: PIL stores only what changes (with transparency) from the second frame on
    frames = [Image.fromarray(np.roll(ramp(3) // 64 * 64, 3 * k, axis=1)) for k in range(6)]
    frames[0].save(path('gif_anim.gif'), save_all=True, append_images=frames[1:], duration=40, loop=0)
    read('gif_anim.gif', 'gif', pil_frames('gif_anim.gif', 2), 2, 6)
    greys = [Image.fromarray(np.roll(ramp(1) // 32 * 32, k, axis=0)) for k in range(4)]
    greys[0].save(path('gif_grey_anim.gif'), save_all=True, append_images=greys[1:], disposal=2)
    read('gif_grey_anim.gif', 'gif', pil_frames('gif_grey_anim.gif', 1), 1, 4)
    hand_made_gif()
    # bitmaps of 1 and 32 bits, a colour-mapped TGA (plain and run-length), a raw PBM
    bits = grey.point(lambda v: 255 if v > 120 else 0).convert('1')
    rgba = rgb.convert('RGBA')
    rgba.putalpha(grey)
    palette = rgb.quantize(7)
    for name, im, fmt, kw in [('bmp_1bit.bmp', bits, 'bmp', {}), ('bmp_32bit.bmp', rgba, 'bmp', {}),
                              ('tga_mapped.tga', palette, 'tga', {}),
                              ('tga_mapped_rle.tga', palette, 'tga', {'compression': 'tga_rle'}),
                              ('pbm_raw.pbm', bits, 'pnm', {}),
                              ('tif_1bit.tif', bits, 'tiff', {}),
                              ('tif_group4.tif', bits, 'tiff', {'compression': 'group4'}),
                              ('tif_jpeg.tif', rgb, 'tiff', {'compression': 'jpeg'}),
                              ('tif_jpeg_grey.tif', grey, 'tiff', {'compression': 'jpeg'}),
                              ('tif_grey_alpha.tif', grey.convert('LA'), 'tiff', {'compression': 'tiff_adobe_deflate'})]:
        im.save(path(name), **kw)
        colortype = 1 if im.mode in ('1', 'L', 'LA') else 2
        read(name, fmt, pil_frames(name, colortype), colortype)
    # CMYK JPEG (Adobe's inverted inks)
    cmyk = Image.fromarray(np.concatenate([ramp(3), ramp(1)[..., None] // 2], axis=-1), 'CMYK')
    cmyk.save(path('jpeg_cmyk.jpg'), quality=90)
    read('jpeg_cmyk.jpg', 'jpeg', pil_frames('jpeg_cmyk.jpg', 2), 2)


def tifffile_files():
    import tifffile

    def tif(name, data, fmt='tiff', colortype=1, frames=1, reference=None, **kw):
        tifffile.imwrite(path(name + '.tif'), data, **kw)
        ref = data if reference is None else reference
        if fmt == 'tiff':
            ref = ref[None]
        read(name + '.tif', fmt, ref, colortype, frames)

    tif('tif_zlib_predictor', ramp(1), compression='zlib', predictor=True)
    tif('tif_deflate_rgb', ramp(3), colortype=2, compression='adobe_deflate')
    tif('tif_lzma', ramp(1, 250, dtype=np.uint16), compression='lzma')
    tif('tif_tiled', ramp(3, 251, dtype=np.uint16).repeat(3, 0).repeat(3, 1), colortype=2,
        tile=(16, 16), compression='zlib')
    tif('tif_planar', ramp(3).transpose(2, 0, 1), colortype=2, planarconfig='separate', photometric='rgb',
        compression='zlib', reference=ramp(3))
    tif('tif_rgba', np.concatenate([ramp(3), ramp(1)[..., None]], axis=-1), colortype=2,
        extrasamples=['unassalpha'], reference=ramp(3))
    tif('tif_float32', ramp(1, 0.37, -20.5, np.float32))
    tif('tif_float64_bigtiff', ramp(3, 1e-3, -0.1, np.float64), colortype=2, bigtiff=True,
        reference=ramp(3, 1e-3, -0.1, np.float64).astype(np.float32))
    tif('tif_int16_ct', ramp(1, 16, -1024, np.int16), compression='zlib')
    tif('tif_int8', ramp(1, 1, -128, np.int8))
    tif('tif_uint16_big_endian', ramp(1, 257, 0, np.uint16), byteorder='>')
    # bits of 1 are black: tifffile writes booleans as min-is-white bitmaps
    tif('tif_bool', ramp(1) > 100, reference=np.where(ramp(1) > 100, 0, 255).astype(np.uint8))
    stack = np.stack([ramp(1, 16, -1024 + 100 * k, np.int16) for k in range(3)])
    tif('tif_stack_int16', stack, fmt='tiffstack', frames=3, photometric='minisblack')
    for name, data, status, kw in [('tif_uint32', ramp(1, 1 << 20, 0, np.uint32), -1011, {}),
                                   ('tif_float16', ramp(1, 1, 0, np.float16), -1011, {}),
                                   ('tif_complex', ramp(1).astype(np.complex64), -1012, {}),
                                   ('tif_cmyk', np.stack([ramp(1)] * 4, -1), -1013, {'photometric': 'separated'})]:
        tifffile.imwrite(path(name + '.tif'), data, **kw)
        refuse(name + '.tif', 'tiff', status)


def magick_files():
    def convert(*args):
        subprocess.run(['convert'] + list(args), check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    def dump(name, colortype, depth=8):
        """ImageMagick's own reading, for what PIL cannot read."""
        raw = subprocess.run(['convert', path(name), '-depth', str(depth), ('gray:' if colortype == 1 else 'rgb:') + '-'],
                             check=True, stdout=subprocess.PIPE).stdout
        return np.frombuffer(raw, dtype=np.uint8 if depth == 8 else '>u2')

    Image = __import__('PIL.Image', fromlist=['Image'])
    Image.fromarray(ramp(3)).save(path('source.ppm'))
    Image.fromarray(ramp(1)).save(path('source.pgm'))
    Image.fromarray(ramp(1, 257, 0, np.uint16).astype(np.int32)).save(path('source16.png'))
    src, grey = path('source.ppm'), path('source.pgm')
    cases = [('tif_zip_palette.tif', 'tiff', 2, [src, '-colors', '40', '-type', 'Palette', '-compress', 'zip']),
             ('tif_im_jpeg.tif', 'tiff', 2, [src, '-compress', 'jpeg', '-quality', '90']),
             ('tif_im_jpeg_ycbcr.tif', 'tiff', 2, [src, '-colorspace', 'YCbCr', '-compress', 'jpeg']),
             ('tif_im_group4.tif', 'tiff', 1, [grey, '-monochrome', '-compress', 'group4']),
             ('bmp_4bit.bmp', 'bmp', 2, [src, '-colors', '12', '-type', 'Palette', 'BMP3:']),
             ('bmp_im_1bit.bmp', 'bmp', 1, [grey, '-monochrome', '-type', 'Bilevel', 'BMP3:']),
             ('bmp_bgra_v5.bmp', 'bmp', 2, [src, '-alpha', 'set', '-channel', 'A', '-evaluate', 'set', '50%']),
             ('bmp_rgb565.bmp', 'bmp', 2, [src, '-define', 'bmp:subtype=RGB565']),
             ('tga_im_mapped.tga', 'tga', 2, [src, '-colors', '30', '-type', 'Palette']),
             ('pbm_plain.pbm', 'pnm', 1, [grey, '-monochrome', '-compress', 'none']),
             ('pgm_plain.pgm', 'pnm', 1, [grey, '-compress', 'none']),
             ('ppm_plain.ppm', 'pnm', 2, [src, '-compress', 'none']),
             ('jpeg_ycck.jpg', 'jpeg', 2, [src, '-colorspace', 'CMYK', '-quality', '90'])]
    for name, fmt, colortype, args in cases:
        convert(*(args[:-1] + [args[-1] + path(name)] if args[-1].endswith(':') else args + [path(name)]))
        read(name, fmt, pil_frames(name, colortype), colortype,
             tolerance=1 if name.startswith('tif_zip_palette') else 0)
    # an optimized animation: each frame only what changed, over the one before
    frames = []
    for k in range(5):
        frames.append(path('frame%d.ppm' % k))
        Image.fromarray(np.roll(ramp(3) // 64 * 64, 2 * k, axis=0)).save(frames[-1])
    convert('-delay', '5', '-dispose', 'Background', *frames, '-layers', 'Optimize', path('gif_im_anim.gif'))
    read('gif_im_anim.gif', 'gif', pil_frames('gif_im_anim.gif', 2), 2, 5)
    # 12-bit samples, packed (PIL cannot read them: ImageMagick's own reading, rounded to 8 bits)
    convert(path('source16.png'), '-depth', '12', '-compress', 'none', path('tif_12bit.tif'))
    read('tif_12bit.tif', 'tiff', dump('tif_12bit.tif', 1).reshape(1, H, W), 1, tolerance=1)


{'pil': pil_files, 'tifffile': tifffile_files, 'magick': magick_files}[tool]()
manifest.close()
