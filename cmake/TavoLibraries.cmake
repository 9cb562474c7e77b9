# A library, shared and static, from object libraries; and the installation of both libraries with
# headers, a CMake package, pkg-config files, licence and documents, in components.
include(CMakePackageConfigHelpers)
set(TAVO_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/tavo")

# tavo_library(NAME ALIAS FOLDER OBJECTS...): targets NAME and NAME_static, known to users as
# tavo::ALIAS and tavo::ALIAS_static. FOLDER/NAME.map and .def say what the shared one shows.
function(tavo_library name alias folder)
  set(objects)
  foreach(target IN LISTS ARGN)
    list(APPEND objects $<TARGET_OBJECTS:${target}>)
  endforeach()
  add_library(${name} SHARED ${objects})
  add_library(${name}_static STATIC ${objects})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION
                                           ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${alias})
  set_target_properties(${name}_static PROPERTIES OUTPUT_NAME ${name} EXPORT_NAME ${alias}_static)
  target_compile_definitions(${name}_static INTERFACE TAVO_SURVEY_STATIC)
  foreach(suffix IN ITEMS "" _static)
    add_library(tavo::${alias}${suffix} ALIAS ${name}${suffix})
    target_include_directories(
      ${name}${suffix} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                              $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${name}${suffix} PRIVATE $<BUILD_INTERFACE:tavo_compile>)
    set_target_properties(
      ${name}${suffix} PROPERTIES LINKER_LANGUAGE CXX
                                  RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin"
                                  LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib"
                                  ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
  endforeach()
  if(NOT MSVC)
    target_link_options(${name} PRIVATE -Wl,--gc-sections)
  endif()
  if(WIN32)
    set(shows "${folder}/${name}.def")
    if(MSVC OR CMAKE_SIZEOF_VOID_P EQUAL 8)
      # The only calling convention of 64 bits decorates no name, and MSVC's linker finds the
      # decorated ones by the plain ones.
      file(READ "${shows}" exports)
      string(REGEX REPLACE "@[0-9]+" "" exports "${exports}")
      set(shows "${CMAKE_CURRENT_BINARY_DIR}/${name}.def")
      file(CONFIGURE OUTPUT "${shows}" CONTENT "${exports}" @ONLY)
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${folder}/${name}.def")
    endif()
    set_target_properties(${name} PROPERTIES PREFIX "" IMPORT_PREFIX "lib" SOVERSION "")
    target_sources(${name} PRIVATE "${shows}")
    if(MINGW)
      tavo_import_libraries(${name} "${shows}")
    endif()
  else()
    # No -Bsymbolic: the library compares a callback with TVO_Write, and a host that is not
    # position-independent has an address of its own for that function.
    set(shows "${folder}/${name}.map")
    target_link_options(${name} PRIVATE "-Wl,--version-script=${shows}")
    if(NOT TAVO_SANITIZE)
      target_link_options(${name} PRIVATE -Wl,-z,defs)
    endif()
  endif()
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${shows}")

  install(TARGETS ${name} ${name}_static
          EXPORT tavoTargets
          RUNTIME COMPONENT runtime
          LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
          ARCHIVE COMPONENT development)
  tavo_pkg_config(${name})
endfunction()

# The import library, and NAME.lib beside it: the short form that the linkers of MSVC and LLVM take.
function(tavo_import_libraries name shows)
  # Not every toolchain's linker keeps the decorated names in the import library that it writes,
  # and hosts link by them: dlltool writes it instead.
  find_program(TAVO_DLLTOOL NAMES ${TAVO_MINGW}-dlltool dlltool REQUIRED)
  target_link_options(${name} PRIVATE -Wl,--kill-at)
  add_custom_command(
    TARGET ${name} POST_BUILD
    COMMAND "${TAVO_DLLTOOL}" --kill-at --input-def "${shows}" --dllname
            $<TARGET_FILE_NAME:${name}> --output-lib $<TARGET_LINKER_FILE:${name}>
    VERBATIM)
  find_program(TAVO_LLVM_DLLTOOL NAMES llvm-dlltool)
  if(NOT TAVO_LLVM_DLLTOOL)
    message(STATUS "llvm-dlltool was not found: no ${name}.lib for MSVC's linker")
    return()
  endif()
  set(machine i386)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(machine i386:x86-64)
  endif()
  set(library "${CMAKE_BINARY_DIR}/lib/${name}.lib")
  add_custom_command(
    TARGET ${name} POST_BUILD
    COMMAND "${TAVO_LLVM_DLLTOOL}" -k -m ${machine} -d "${shows}" -D $<TARGET_FILE_NAME:${name}> -l
            "${library}"
    VERBATIM)
  install(FILES "${library}" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
endfunction()

# The prefix is found from the file's own place, so an installed tree can be moved; a folder that is
# given as an absolute path stays where it is.
function(tavo_pkg_config name)
  cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}"
             OUTPUT_VARIABLE libdir)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${libdir}/pkgconfig"
             OUTPUT_VARIABLE tavo_prefix_from_pc)
  foreach(kind IN ITEMS LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
      set(tavo_pc_${kind} "${CMAKE_INSTALL_${kind}}")
    else()
      set(tavo_pc_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
    endif()
  endforeach()
  set(tavo_pc_prefix "\${pcfiledir}/${tavo_prefix_from_pc}")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(tavo_pc_prefix "${CMAKE_INSTALL_PREFIX}")
  endif()
  set(tavo_pc_name ${name})
  configure_file("${PROJECT_SOURCE_DIR}/cmake/tavo.pc.in" "${CMAKE_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${CMAKE_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT development)
endfunction()

function(tavo_install_libraries)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/tavo" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          COMPONENT development
          FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
  install(EXPORT tavoTargets NAMESPACE tavo:: DESTINATION ${TAVO_PACKAGE_DIR}
          COMPONENT development)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/tavoConfig.cmake.in"
                                "${CMAKE_BINARY_DIR}/tavoConfig.cmake"
                                INSTALL_DESTINATION ${TAVO_PACKAGE_DIR})
  write_basic_package_version_file("${CMAKE_BINARY_DIR}/tavoConfigVersion.cmake"
                                   COMPATIBILITY SameMajorVersion)
  install(FILES "${CMAKE_BINARY_DIR}/tavoConfig.cmake" "${CMAKE_BINARY_DIR}/tavoConfigVersion.cmake"
          DESTINATION ${TAVO_PACKAGE_DIR} COMPONENT development)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/README.md"
          DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION ${CMAKE_INSTALL_DOCDIR}
          COMPONENT documents)
endfunction()
