#!/usr/bin/env bash
# Fails on an include that points the wrong way. Each folder may include itself and those listed
# for it; the subsystems pos, streamer, validator and fileutils never include one another and meet
# through the binder alone. Headers of an operating system stay in files of that system.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folders=()
for folder in include src host tool tests examples bench fuzz; do
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
      allowed["host"] = "include"
      allowed["tool"] = allowed["tests"] = allowed["examples"] = allowed["bench"] = \
        allowed["fuzz"] = "include host"
      allowed["inside"] = "tests src frame pos streamer validator fileutils include host"

      folder_of_prefix["zelutils"] = "include"
      folder_of_prefix["zelhost"] = folder_of_prefix["storage"] = "host"
      split("frame pos streamer validator fileutils", names, " ")
      for (i in names) folder_of_prefix[names[i]] = names[i]

      system_headers = "^(windows|winsock2|dlfcn|unistd|fcntl|dirent|pthread|process|io|direct|" \
        "sys/.*|linux/.*)(\\.h)?$"
    }

    function folder_of_file(path,    parts) {
      split(path, parts, "/")
      if (parts[1] == "src" && parts[2] in allowed) return parts[2]
      if ((parts[1] == "tests" || parts[1] == "bench") && parts[2] == "inside") return "inside"
      return parts[1]
    }

    function complain(text) {
      printf "%s:%d: %s\n", path, line_number, text
      ++complaints
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

    END { exit complaints > 0 }
  '
