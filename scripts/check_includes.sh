#!/usr/bin/env bash
# Fails on an include that points the wrong way. Each folder may include itself and those listed
# for it; the subsystems pos, streamer, validator and fileutils never include one another and meet
# through the binder alone. No circle of includes leads through the folders listed as acyclic, and
# the floors of the frame include downwards only. Headers of an operating system stay in its own
# files.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folders=()
for folder in include src host check tool tests examples bench fuzz; do
  if [ -d "$folder" ]; then
    folders+=("$folder")
  fi
done

find "${folders[@]}" -type f \
  \( -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.cpp' \) | sort |
  awk '
    BEGIN {
      allowed["include"] = ""
      allowed["frame"] = "include"
      allowed["pos"] = allowed["streamer"] = allowed["validator"] = allowed["fileutils"] = \
        "frame include"
      allowed["src"] = "frame include"  # and each subsystem by its subsystem.h
      allowed["host"] = allowed["check"] = "include"
      allowed["tool"] = allowed["tests"] = allowed["examples"] = allowed["bench"] = \
        allowed["fuzz"] = "include host"
      allowed["inside"] = "tests src frame pos streamer validator fileutils include host"

      folder_of_prefix["zelutils"] = "include"
      folder_of_prefix["conformance"] = "check"
      folder_of_prefix["zelhost"] = folder_of_prefix["storage"] = "host"
      split("frame pos streamer validator fileutils", names, " ")
      for (i in names) folder_of_prefix[names[i]] = names[i]

      split("frame pos streamer validator fileutils host tool", names, " ")
      for (i in names) acyclic[names[i]] = 1
      count = split("base link core object client", names, " ")
      for (i = 1; i <= count; ++i) floor[names[i]] = i

      system_headers = "^(windows|winsock2|dlfcn|unistd|fcntl|dirent|pthread|process|io|direct|" \
        "sys/.*|linux/.*)(\\.h)?$"
    }

    function folder_of_file(path,    parts) {
      split(path, parts, "/")
      if (parts[1] == "src" && parts[2] in allowed) return parts[2]
      if (parts[1] ~ /^(tests|bench|fuzz)$/ && parts[2] == "inside") return "inside"
      return parts[1]
    }

    function complain(text) {
      printf "%s:%d: %s\n", path, line_number, text
      ++complaints
    }

    # A unit is a header with the source file of its name. Within the folders of `acyclic` no unit
    # may reach itself, and in the frame none includes one of a floor above its own.
    function unit_of(name) {
      sub(/\.[a-z]+$/, "", name)
      return name
    }

    function floor_of(unit,    parts) {
      split(unit, parts, "/")
      return parts[1] == "frame" ? floor[parts[2]] : 0
    }

    function note_unit(included, target,    from, to, folder_path) {
      if (!(folder in acyclic) || !(target in acyclic)) return
      from = path
      sub(/^src\//, "", from)
      from = unit_of(from)
      to = unit_of(included)
      if (included !~ /\//) {  # a neighbour in the same folder
        folder_path = from
        sub(/[^\/]*$/, "", folder_path)
        to = folder_path to
      } else if (target == "host") {
        to = "host/" to
      }
      if (from == to) return
      if (floor_of(to) > floor_of(from) && floor_of(from) > 0)
        complain("\"" included "\" stands on a floor above this one")
      includes[from] = includes[from] " " to
    }

    function visit(unit, way,    next_units, count, i) {
      if (state[unit] == "done") return
      if (state[unit] == "open") {
        print "a circle of includes:" way " " unit
        ++complaints
        return
      }
      state[unit] = "open"
      count = split(includes[unit], next_units, " ")
      for (i = 1; i <= count; ++i) visit(next_units[i], way " " unit)
      state[unit] = "done"
    }

    function check(included, quoted,    prefix, target) {
      if (included ~ /(^|\/)\.\.?\//) {
        complain("\"" included "\" leaves the include path")
        return
      }
      prefix = included
      sub(/\/.*/, "", prefix)
      if (included ~ /\// && prefix in folder_of_prefix) {
        target = folder_of_prefix[prefix]
      } else if (!quoted) {
        if (path ~ /^src\// && path !~ /_(posix|windows)\.cpp$/ && included ~ system_headers)
          complain("<" included "> belongs into a file named *_posix.cpp or *_windows.cpp")
        return
      } else if (included ~ /\//) {
        complain("\"" included "\" is in no folder that may be included")
        return
      } else {
        target = folder
      }
      note_unit(included, target)
      if (target == folder || index(" " allowed[folder] " ", " " target " ")) return
      if (folder == "src" && included ~ /^[a-z]+\/subsystem\.h$/) return
      complain(folder "/ may not include \"" included "\"")
    }

    {
      path = $0
      folder = folder_of_file(path)
      if (!(folder in allowed)) { print path ": in no known folder"; ++complaints; next }
      line_number = 0
      while ((getline line < path) > 0) {
        ++line_number
        if (line !~ /^[ \t]*#[ \t]*include[ \t]*["<]/) continue
        included = line
        sub(/^[^"<]*["<]/, "", included)
        sub(/[">].*/, "", included)
        check(included, line ~ /include[ \t]*"/)
      }
      close(path)
    }

    END {
      for (unit in includes) visit(unit, "")
      exit complaints > 0
    }
  '
