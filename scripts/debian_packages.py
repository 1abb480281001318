"""Real data for the checks. It is fetched from Debian packages when a check runs and not kept."""

import re
import subprocess

PAGE_PACKAGES = ["libstdc++-12-doc", "python3.11-doc"]


def unpack(packages, folder):
    """Fetches packages and unpacks them below folder/root, which it returns."""
    subprocess.run(["apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", *packages],
                   cwd=folder, check=True)
    for package in folder.glob("*.deb"):
        subprocess.run(["dpkg-deb", "-x", package, folder / "root"], check=True)
    return folder / "root"


def html_pages(root):
    """The HTML files below a folder, without links, by their names."""
    return [page for page in sorted(root.rglob("*.html"))
            if page.is_file() and not page.is_symlink()]


def places_for_markup(raw):
    """Offsets in a page at which markup can be planted: after closing tags, outside of scripts and
    comments."""
    apart = [match.span() for match in re.finditer(rb"<script.*?</script|<!--.*?-->", raw,
                                                   re.I | re.S)]
    ends = [match.end() for match in re.finditer(rb"</(?:p|div|ul|table|h[1-6])>", raw)]
    return [at for at in ends if not any(start < at < end for start, end in apart)]
