"""Real pages for the checks: HTML documentation out of Debian packages, fetched by apt."""

import re
import subprocess
from pathlib import Path


def fetch(folder, *packages):
    """The pages of packages, unpacked below the folder: regular files, sorted by name."""
    subprocess.run(["apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", *packages],
                   cwd=folder, check=True)
    for package in Path(folder).glob("*.deb"):
        subprocess.run(["dpkg-deb", "-x", package, Path(folder) / "root"], check=True)
    pages = sorted((Path(folder) / "root").rglob("*.html"))
    return [page for page in pages if page.is_file() and not page.is_symlink()]


def places(raw):
    """Offsets in a page at which markup can be planted: behind closing tags, outside of scripts and
    comments."""
    apart = [match.span() for match in re.finditer(rb"<script.*?</script|<!--.*?-->", raw,
                                                   re.I | re.S)]
    ends = [match.end() for match in re.finditer(rb"</(?:p|div|ul|table|h[1-6])>", raw)]
    return [at for at in ends if not any(start < at < end for start, end in apart)]
