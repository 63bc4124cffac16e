#!/usr/bin/env python3
"""Documents as a package carries them: a link to what is not in the package becomes its words, and
pictures go.

  packaging/pages.py FOLDER PAGE... [--beside TARGET...]    TARGET: what links may also lead to
"""

import argparse
import re
from pathlib import Path


def packed(text, kept):
    """`kept`: the targets that stay, without the heading behind '#'."""
    def link(match):
        words, target = match.groups()
        stays = '://' in target or target.partition('#')[0] in {'', *kept}
        return match.group(0) if stays else words

    text = re.sub(r'^!\[[^]]*\]\([^)]*\)\n\n?', '', text, flags=re.MULTILINE)
    return re.sub(r'\[([^]]*)\]\(([^)\s]+)\)', link, text)


def main():
    parser = argparse.ArgumentParser(description='Writes documents as a package carries them.')
    parser.add_argument('folder', type=Path)
    parser.add_argument('pages', type=Path, nargs='+')
    parser.add_argument('--beside', nargs='*', default=[])
    arguments = parser.parse_args()
    kept = {page.name for page in arguments.pages} | set(arguments.beside)
    arguments.folder.mkdir(parents=True, exist_ok=True)
    for page in arguments.pages:
        (arguments.folder / page.name).write_text(packed(page.read_text(), kept))


if __name__ == '__main__':
    main()
