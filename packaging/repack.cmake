# Called by CPack after it has made the packages. It gives a Debian package with a shared library
# scripts that call ldconfig; the trigger of the package does that, once for all that are installed
# together, and Debian's policy wants the trigger alone.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "\\.deb$")
    continue()
  endif()
  set(folder ${CPACK_TEMPORARY_DIRECTORY}/repacked)
  file(REMOVE_RECURSE ${folder})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${folder}/DEBIAN/postinst)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    execute_process(
      COMMAND dpkg-deb --root-owner-group -Zxz --build ${folder} ${package}
      OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${package}.sha256)
      file(SHA256 ${package} sum)
      cmake_path(GET package FILENAME name)
      file(WRITE ${package}.sha256 "${sum}  ${name}\n")
    endif()
  endif()
endforeach()
