"""Pages with pictures to measure with: newsletters with photographs, and mails of nothing else. Drawn by ImageMagick
from fixed seeds, so that they are the same each time."""
import base64
import subprocess

PHOTOGRAPH = (4000, 3000)   # 12 megapixels
NEWSLETTERS, PHOTOGRAPHS = 12, 100

STYLE = """body { margin: 0; background: #eef; font: 15px/1.5 Arial, sans-serif; color: #333 }
.mail { width: 600px; margin: 0 auto; background: #fff } .card { width: 270px; padding: 15px; vertical-align: top }
.top { height: 180px; background-size: cover; background-position: center; color: #fff } .card img { width: 100% }
a.button { display: inline-block; padding: 10px 20px; border-radius: 5px; background: #06c; color: #fff }"""
WORDS = "Our gardens open again in May, and whoever comes early sees the tulips before the rain does. "


def drawn(*arguments):
    return subprocess.run(["convert", *map(str, arguments)], check=True, capture_output=True).stdout


def photograph(seed, width, height):
    """A JPEG with the coarse shapes and the fine noise that cameras leave."""
    return drawn("-seed", seed, "-size", f"{width // 2}x{height // 2}", "plasma:fractal", "-attenuate", 0.25,
                 "+noise", "Gaussian", "-resize", "200%", "-quality", 80, "jpeg:-")


def variants(jpeg, count):
    """So many different pictures that look the same: the step of the finest detail is another in each."""
    last = jpeg.index(b"\xff\xdb") + 4 + 64   # marker, length, number of the table, 64 steps (ITU-T T.81 B.2.4.1)
    return [jpeg[:last] + bytes([number + 1]) + jpeg[last + 1:] for number in range(count)]


def address(kind, picture):
    return f"data:image/{kind};base64,{base64.b64encode(picture).decode()}"


def newsletter(number, photographs, logo):
    chosen = [photographs[(number + i) % len(photographs)] for i in range(3 + number % 4)]
    top, *cards = [address("jpeg", each) for each in chosen]
    cells = [f'<td class="card"><img src="{card}" alt=""><h3>Number {number}</h3><p>{WORDS * 2}</p>'
             '<a class="button" href="https://example.org/">Read on</a></td>' for card in cards]
    rows = "".join(f"<tr>{''.join(cells[i:i + 2])}</tr>" for i in range(0, len(cells), 2))
    return (f'<!doctype html><meta charset="utf-8"><style>{STYLE}</style><div class="mail">'
            f'<div class="top" style="background-image:url({top})"><img src="{address("png", logo)}" alt=""> News</div>'
            f'<p style="padding:15px">{WORDS * 5}</p><table>{rows}</table></div>')


def album(photographs):
    shown = "".join(f'<p>Number {number}</p><img style="max-width:100%" src="{address("jpeg", each)}">'
                    for number, each in enumerate(photographs, 1))
    return f'<!doctype html><meta charset="utf-8"><p>From the garden:</p>{shown}'


def write_pages(folder):
    """Folders of pages in this one, by what they hold."""
    small = [photograph(seed, 1200, 800) for seed in range(8)]
    logo = drawn("-size", "240x80", "xc:none", "-fill", "#06c", "-draw", "circle 40,40 40,5", "png:-")
    large = photograph(99, *PHOTOGRAPH)
    pages = {"newsletters with photographs": [newsletter(number, small, logo) for number in range(NEWSLETTERS)],
             "a photograph of 12 megapixels": [album([large])],
             f"{PHOTOGRAPHS} photographs of 12 megapixels": [album(variants(large, PHOTOGRAPHS))]}
    folders = {}
    for name, texts in pages.items():
        folders[name] = folder / name
        folders[name].mkdir(parents=True, exist_ok=True)
        for number, text in enumerate(texts):
            (folders[name] / f"{number:02}.html").write_text(text, "utf-8")
    return folders
