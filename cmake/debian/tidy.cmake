# Run by CPack on the folders that become packages: brings them into the shape that Debian wants.
file(GLOB_RECURSE binaries "${CPACK_TEMPORARY_DIRECTORY}/*/usr/lib/*.so.*" "${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/*")
foreach(binary ${binaries})
  if(NOT IS_SYMLINK ${binary})
    file(RPATH_REMOVE FILE ${binary}) # the system's own folders are searched anyway
  endif()
endforeach()

file(GLOB_RECURSE texts "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/*.1"
     "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog.Debian")
execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)

# Debian's zsh does not look for packages' functions where others do.
file(GLOB functions "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/zsh/site-functions")
foreach(folder ${functions})
  cmake_path(REPLACE_FILENAME folder vendor-completions OUTPUT_VARIABLE debian_folder)
  file(RENAME ${folder} ${debian_folder})
endforeach()
