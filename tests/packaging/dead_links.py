#!/usr/bin/env python3
"""Links and pictures of the Markdown pages in a folder that lead to nothing.
   dead_links.py FOLDER    ends with 1 if there are any, or no pages
"""
import re
import sys
from pathlib import Path


def dead_links(folder):
    return [f'{page.name}: nothing is at {target}'
            for page in sorted(folder.glob('*.md'))
            for target in re.findall(r'\]\(([^)#\s]+)', page.read_text())
            if '://' not in target and not (folder / target).exists()]


if __name__ == '__main__':
    FOLDER = Path(sys.argv[1])
    DEAD = dead_links(FOLDER)
    print('\n'.join(DEAD), end='\n' if DEAD else '')
    sys.exit(1 if DEAD or not list(FOLDER.glob('*.md')) else 0)
