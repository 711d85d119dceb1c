"""python -m zelutils: parts of values, and validation, at the command line."""

import argparse
import sys

from . import Error, ParseError, Schema, Value, dumps, parse_file

_LINE_WIDTH = 96  # what fits stands on one line


def _read(path):
    try:
        return parse_file(path)
    except ParseError as error:
        raise SystemExit(_fail(
            "%s:%d:%d: %s" % (path, error.line, error.column, error.explanation)))
    except OSError as error:
        raise SystemExit(_fail("%s: %s" % (path, error.strerror or error)))
    except Error as error:
        raise SystemExit(_fail("%s: %s" % (path, error)))


def _fail(text):
    print(text, file=sys.stderr)
    return 2


def get(options):
    value = _read(options.file)
    for path in options.paths:
        found = value if path == "" else (
            value.deep_get(path) if isinstance(value, Value) else None)
        if found is None:
            return _fail('%s: nothing at "%s"' % (options.file, path)) and 1
        if options.raw and not isinstance(found, Value):
            print(found)
        else:
            text = dumps(found)
            print(text if len(text) <= _LINE_WIDTH else dumps(found, 2))
    return 0


def validate(options):
    schema = Schema(_read(options.schema))
    faults = list(dict.fromkeys(schema.check()))
    for fault in faults:
        _fail("%s: %s: %s" % (options.schema, fault.path, fault.message))
    if faults:
        return 2
    wrong = False
    for path in options.files:
        for finding in schema.validate(_read(path), options.type):
            if finding.text == "Schema not applicable, no definition for " + options.type:
                return _fail('%s: no type "%s"' % (options.schema, options.type))
            wrong = True
            print("%s: %s: %s" % (path, finding.path, finding.message) if finding.path
                  else "%s: %s" % (path, finding.message))
    return 1 if wrong else 0


def main():
    parser = argparse.ArgumentParser(prog="python -m zelutils", description=__doc__)
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("get", help="print the values at paths")
    command.add_argument("file", help="a text or a stream")
    command.add_argument("paths", nargs="+", metavar="path", help="such as pages[0].width; '' is all")
    command.add_argument("--raw", action="store_true", help="scalars without quotes")
    command.set_defaults(run=get)
    command = commands.add_parser(
        "validate", help="check files; exit status 0 if they conform, 1 if not, 2 if unchecked")
    command.add_argument("schema")
    command.add_argument("type")
    command.add_argument("files", nargs="+", metavar="file")
    command.set_defaults(run=validate)
    options = parser.parse_args()
    try:
        return options.run(options)
    except (Error, ValueError) as error:
        return _fail(str(error))


if __name__ == "__main__":
    sys.exit(main())
