# Makes an installed tree what is released: programs and libraries lose their debugging information to a
# file of its own, which debuggers find by name, and every file has the time of the release.
file(REMOVE_RECURSE "${CPACK_TAVO_DEBUG}")
file(MAKE_DIRECTORY "${CPACK_TAVO_DEBUG}")
file(GLOB_RECURSE files LIST_DIRECTORIES true "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(file IN LISTS files)
  if(IS_DIRECTORY "${file}" OR IS_SYMLINK "${file}")
    continue()
  endif()
  cmake_path(GET file FILENAME name)
  if(name MATCHES "\\.(exe|dll)$|\\.so(\\.[0-9.]+)?$" OR file MATCHES "/(bin|libexec)/")
    set(debug "${CPACK_TAVO_DEBUG}/${name}.debug")
    foreach(step IN ITEMS "--only-keep-debug;${file};${debug}" "--strip-unneeded;${file}"
                          "--add-gnu-debuglink=${debug};${file}")
      execute_process(COMMAND "${CPACK_TAVO_OBJCOPY}" ${step} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
  elseif(name MATCHES "\\.a$" AND NOT name MATCHES "\\.dll\\.a$")
    execute_process(COMMAND "${CPACK_TAVO_OBJCOPY}" --strip-debug --enable-deterministic-archives
                            "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND find "${CPACK_TEMPORARY_INSTALL_DIRECTORY}" "${CPACK_TAVO_DEBUG}" -exec touch
            --no-dereference --date "@$ENV{SOURCE_DATE_EPOCH}" {} + COMMAND_ERROR_IS_FATAL ANY)
endif()
