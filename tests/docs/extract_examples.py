#!/usr/bin/env python3
"""Makes a source file of each C++ example of the documents: extract_examples.py DOCS OUTPUT_FOLDER

Prints the names of the files. An example that is not whole functions goes into a function, and knows the headers and
using declarations of the examples before it in its document.
"""

import pathlib
import re
import sys

WHOLE = re.compile(r"^(class |namespace |[A-Za-z]\w* \w+\(.*\)$)", re.MULTILINE)


def source_of(example, shared, location):
    lines = example.splitlines()
    for line in lines:
        if re.match(r"#include |using ", line) and line not in shared:
            shared.append(line)
    includes = [line for line in shared if line.startswith("#include ")]
    body = [line for line in lines if not line.startswith("#include ")]
    if not WHOLE.search(example):
        uses = [line for line in shared if line.startswith("using ") and line not in body]
        body = ["void Example()", "{"] + uses + body + ["}"]
    return "\n".join(includes + ['#include "surroundings.h"', f'#line {location[1]} "{location[0]}"'] + body) + "\n"


def main(docs, output):
    output.mkdir(parents=True, exist_ok=True)
    for document in sorted(docs.glob("*.md")):
        text = document.read_text(encoding="utf-8")
        shared = []
        for match in re.finditer(r"^```cpp\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
            line = text.count("\n", 0, match.start(1)) + 1
            source = output / f"{document.stem}_{line}.cpp"
            content = source_of(match.group(1), shared, (document, line))
            if not source.exists() or source.read_text(encoding="utf-8") != content:
                source.write_text(content, encoding="utf-8")
            print(source)


main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
