# Called by CPack before it makes a package from the files that it has installed: adds what the
# target system expects, and gives every file the release's date, so that the same sources always
# make the same bytes. The date is that of the changelog's newest entry, or SOURCE_DATE_EPOCH.
set(source ${CPACK_ZELUTILS_SOURCE_DIR})
set(version ${CPACK_PACKAGE_VERSION})

if(NOT CPACK_GENERATOR STREQUAL "DEB")
  set(folders ${CPACK_TEMPORARY_DIRECTORY})
else()
  set(folders "")
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} name)
    set(folder ${CPACK_TEMPORARY_DIRECTORY}/${component})
    set(doc ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})
    list(APPEND folders ${folder})

    file(COPY ${source}/packaging/debian/copyright DESTINATION ${doc})
    file(COPY_FILE ${source}/CHANGELOG.md ${doc}/changelog)
    execute_process(
      COMMAND date --utc --rfc-email --date=@$ENV{SOURCE_DATE_EPOCH}
      OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE ${doc}/changelog.Debian
      "zelutils (${version}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
      "  * Release ${version}; the file changelog.gz says what is new.\n\n"
      " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    file(GLOB texts ${doc}/changelog ${doc}/changelog.Debian
      ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/man/man?/*.?)
    execute_process(COMMAND gzip -9 --no-name ${texts} COMMAND_ERROR_IS_FATAL ANY)
    # The licence is in the file copyright.
    file(REMOVE ${folder}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/zelutils/LICENSE)

    # The compiler's notes in a static library are of no use to a linker.
    file(GLOB_RECURSE archives ${folder}/*.a)
    foreach(archive IN LISTS archives)
      execute_process(
        COMMAND strip --strip-unneeded --remove-section=.comment --enable-deterministic-archives
          ${archive} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    execute_process(
      COMMAND chmod -R u=rwX,go=rX ${folder} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endif()

if(NOT CMAKE_HOST_WIN32)
  execute_process(
    COMMAND find ${folders} -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
