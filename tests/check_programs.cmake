# Programs that find the library beside themselves find the checking layer there in its place: they
# print what they print without it, and the layer finds nothing.
#   LIBRARY, LAYER, DEMO, TOOL, EMULATOR, EXAMPLES, FOLDER
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
get_filename_component(name ${LIBRARY} NAME)
file(COPY_FILE ${LAYER} ${FOLDER}/${name})
foreach(program IN ITEMS ${DEMO} ${TOOL})
  file(COPY ${program} DESTINATION ${FOLDER})
endforeach()

# run(PROGRAM ARGUMENT...): sets `printed` to its output and its exit status.
function(run)
  execute_process(COMMAND ${EMULATOR} ${ARGN}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
  string(REGEX REPLACE "[0-9.]+ ms" "TIME ms" output "${output}")
  set(printed "${status}: ${output}" PARENT_SCOPE)
endfunction()

set(document ${EXAMPLES}/document.pos)
set(schema ${EXAMPLES}/document.schema.pos)
set(broken ${EXAMPLES}/broken.pos)
foreach(arguments IN ITEMS demo "print|${document}" "print|--json|${document}" "tree|${document}"
    "stats|${document}" "get|${document}|pages[0]" "diff|${document}|${broken}"
    "validate|${schema}|Document|${broken}" "check-schema|${schema}" "print|no such file")
  string(REPLACE "|" ";" arguments "${arguments}")
  set(program ${TOOL})
  if(arguments STREQUAL demo)
    set(program ${DEMO})
    set(arguments "")
  endif()
  unset(ENV{ZELUTILS_LIBRARY})
  run(${program} ${arguments})
  set(expected "${printed}")
  set(ENV{ZELUTILS_LIBRARY} ${LIBRARY})
  set(ENV{ZELUTILS_CHECK} stats,out=${FOLDER}/log)
  get_filename_component(name ${program} NAME)
  run(${FOLDER}/${name} ${arguments})
  if(NOT printed STREQUAL expected)
    message(SEND_ERROR "${name} ${arguments} prints\n${printed}\nand without the layer\n${expected}")
  endif()
  # The table of the layer at the end, and no finding before it.
  set(said "")
  if(EXISTS ${FOLDER}/log)
    file(STRINGS ${FOLDER}/log said REGEX "^zelutils-check: ")
  endif()
  if(NOT said MATCHES "^zelutils-check: calls, failures[^;]*$")
    message(SEND_ERROR "the layer says of ${name} ${arguments}: ${said}")
  endif()
  file(REMOVE ${FOLDER}/log)
endforeach()
