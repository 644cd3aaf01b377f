#!/usr/bin/env python3
"""Creates a source file for each C++ example in the documents: extract_examples.py DOCS OUTPUT_DIRECTORY

Prints the names of the files. An example that does not consist of complete functions is enclosed in a function.
"""

import pathlib
import re
import sys

WHOLE = re.compile(r"^(class |namespace |[A-Za-z]\w* \w+\(.*\)$)", re.MULTILINE)


def source_of(example, location):
    if not WHOLE.search(example):
        example = re.sub(r"((?:#include .*\n|\n)*)", r"\1void Example()\n{\n", example, count=1) + "}\n"
    return f'#line {location[1]} "{location[0]}"\n{example}'


def main(docs, output):
    output.mkdir(parents=True, exist_ok=True)
    for document in sorted(docs.glob("*.md")):
        text = document.read_text(encoding="utf-8")
        for match in re.finditer(r"^```cpp\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
            line = text.count("\n", 0, match.start(1)) + 1
            source = output / f"{document.stem}_{line}.cpp"
            content = source_of(match.group(1), (document, line))
            if not source.exists() or source.read_text(encoding="utf-8") != content:
                source.write_text(content, encoding="utf-8")
            print(source)


main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
