#!/usr/bin/env python3
"""Shows a header to Doxygen with its plain comments as documentation, and prints it.

Comments that stand alone before a declaration become documentation of it, those behind one of it;
the first comment of a file becomes the file's. Lines that divide a header into sections, and
typedefs of procedures that are never called, are left out.
"""
import re
import sys


def block_comments(text):
    text = re.sub(r"^/\* -{4}[^\n]*\*/$", "", text, flags=re.M)
    text = re.sub(r"^typedef ZELProc \w+;\n", "", text, flags=re.M)
    text = re.sub(r"^( *)/\*( |\n)", r"\1/**\2", text, flags=re.M)
    text = re.sub(r"(\S +)/\* ", r"\1/**< ", text)
    text = re.sub(r"#(method|procedureType)\b", r"\\#\1", text) if "ZEL_COUNT_METHOD" in text else text
    return text


def line_comments(text):
    text = re.sub(r"^( *)// -{4}[^\n]*$", "", text, flags=re.M)
    text = re.sub(r"(?:^ *//[^\n]*\n)*^(?:template <> *\n?)?inline constexpr bool std::[^;]*;\n", "", text, flags=re.M)
    text = re.sub(r"^( *)// ?", r"\1/// ", text, flags=re.M)
    return re.sub(r"(\S) +// ", r"\1  ///< ", text)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    text = block_comments(text) if text.startswith("/*") else line_comments(text)
    text = re.sub(r"^(/\*\*)", r"/** @file", text, count=1) if text.startswith("/**") else \
        re.sub(r"^/// ", "/// @file\n/// ", text, count=1)
    sys.stdout.write(text)


main()
