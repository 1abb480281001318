"""Pages for the benchmark: documentation, scripts and small pages, from Debian packages.

A part of the pages is held out: no measurement scans them, and some sets are cut from them.
"""

import random
import re
import tempfile
from pathlib import Path

from debian_packages import PAGE_PACKAGES, html_pages, unpack

SCRIPT_PACKAGES = ["libjs-jquery", "libjs-jquery-ui", "libjs-bootstrap4", "libjs-prototype",
                   "libjs-d3", "libjs-three", "libjs-angularjs", "libjs-openlayers",
                   "libjs-lodash", "libjs-highlight.js", "libjs-codemirror", "node-lodash",
                   "node-react", "node-acorn", "node-typescript"]
SEED = 20090605
MEGABYTES = {"document": 48, "script": 24, "small": 8}  # of each kind, at most
HELD_OUT = 5  # one page of so many
LARGEST = 1 << 20  # bytes of a page; without it a few large scripts would be most of the corpus
SMALL = (300, 2000)  # bytes of a small page
# A page is scanned if its first 256 bytes hold one of these tags and no byte that no text has.
TAG = re.compile(rb"<br>|<div|<html|<head>|<font|<img|<script|<object|<iframe", re.I)
NO_TEXT = re.compile(rb"[\x00-\x07\x0e-\x1a\x1c-\x1f\x7f]")


def is_scanned(page):
    head = page[:256]
    return TAG.search(re.sub(rb"[\t-\r ]", b"", head)) and not NO_TEXT.search(head)


def documents(root):
    return [path.read_bytes() for path in html_pages(root)]


def scripts(root):
    """Each script of the packages as a page of its own."""
    paths = [path for path in sorted(root.rglob("*.js"))
             if path.is_file() and not path.is_symlink()]
    return [b"<html><head><title>" + path.name.encode() + b"</title></head><script>\n"
            + path.read_bytes() + b"</script></html>\n" for path in paths]


def small_pages(pages, rng):
    """Pieces of the pages, each begins with a tag."""
    while True:
        page = rng.choice(pages)
        start = page.find(b"<", rng.randrange(len(page)))
        if start != -1:
            yield b"<html>" + page[start:start + rng.randint(*SMALL) - 6]


def write(folder, pages, most):
    """Writes pages until they have `most` bytes together."""
    folder.mkdir(parents=True)
    total = count = 0
    for page in pages:
        if not 300 <= len(page) <= LARGEST or not is_scanned(page):
            continue
        if total + len(page) > most:
            break
        (folder / f"{count:06}.html").write_bytes(page)
        total += len(page)
        count += 1
    print(f"corpus: {count} pages in {folder.parent.name}/{folder.name}, {total / 1e6:.1f} MB",
          flush=True)


def make_corpus(folder):
    """Fills folder/scanned with a folder of pages for each kind, and folder/held-out with others.
    Does nothing if the folder exists."""
    if folder.exists():
        return
    rng = random.Random(SEED)
    folder.parent.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=folder.parent) as name:
        scanned, held_out = {}, {}
        for kind, packages, read in [("document", PAGE_PACKAGES, documents),
                                     ("script", SCRIPT_PACKAGES, scripts)]:
            place = Path(name) / kind
            place.mkdir()
            pages = list(dict.fromkeys(read(unpack(packages, place))))
            rng.shuffle(pages)
            cut = len(pages) // HELD_OUT
            held_out[kind], scanned[kind] = pages[:cut], pages[cut:]
        scanned["small"] = small_pages(scanned["document"] + scanned["script"], rng)
        done = Path(name) / "corpus"
        for part, kinds in ("scanned", scanned), ("held-out", held_out):
            for kind, pages in kinds.items():
                write(done / part / kind, pages, MEGABYTES[kind] * 1_000_000)
        done.rename(folder)
