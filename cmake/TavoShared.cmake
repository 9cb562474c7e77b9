# The shared library, which shows the functions of src/api/tavo.def and tavo.map and nothing else,
# and its installation with a CMake package and a pkg-config file.
add_library(tavo SHARED $<TARGET_OBJECTS:tavo_objects>)
add_library(tavo::tavo ALIAS tavo)
target_include_directories(tavo PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                       $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(tavo PRIVATE $<BUILD_INTERFACE:tavo_compile>)
set_target_properties(tavo PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                                      SOVERSION ${PROJECT_VERSION_MAJOR}
                                      RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin"
                                      LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib"
                                      ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

set(api_dir "${PROJECT_SOURCE_DIR}/src/api")
set(def "${api_dir}/tavo.def")
if(WIN32)
  # Not every toolchain's linker keeps the decorated names in the import library that it writes, and
  # hosts link by them: dlltool writes it instead.
  find_program(TAVO_DLLTOOL NAMES i686-w64-mingw32-dlltool dlltool REQUIRED)
  set_target_properties(tavo PROPERTIES PREFIX "" IMPORT_PREFIX "lib" SOVERSION "")
  target_sources(tavo PRIVATE "${def}")
  target_link_options(tavo PRIVATE -Wl,--kill-at)
  set_property(TARGET tavo APPEND PROPERTY LINK_DEPENDS "${def}")
  add_custom_command(
    TARGET tavo POST_BUILD
    COMMAND "${TAVO_DLLTOOL}" --kill-at --input-def "${def}" --dllname $<TARGET_FILE_NAME:tavo>
            --output-lib $<TARGET_LINKER_FILE:tavo>
    VERBATIM)
else()
  # No -Bsymbolic: the library compares a callback with TVO_Write, and a host that is not
  # position-independent has an address of its own for that function.
  target_link_options(tavo PRIVATE "-Wl,--version-script=${api_dir}/tavo.map")
  if(NOT TAVO_SANITIZE)
    target_link_options(tavo PRIVATE -Wl,-z,defs)
  endif()
  set_property(TARGET tavo APPEND PROPERTY LINK_DEPENDS "${api_dir}/tavo.map")
endif()

include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/tavo")
install(TARGETS tavo EXPORT tavoTargets)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/tavo" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(EXPORT tavoTargets NAMESPACE tavo:: DESTINATION ${package_dir})
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/tavoConfig.cmake.in"
                              "${CMAKE_BINARY_DIR}/tavoConfig.cmake"
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${CMAKE_BINARY_DIR}/tavoConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/tavoConfig.cmake" "${CMAKE_BINARY_DIR}/tavoConfigVersion.cmake"
        DESTINATION ${package_dir})

# The prefix is found from the file's own place, so an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
           BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig"
           OUTPUT_VARIABLE tavo_prefix_from_pc)
configure_file("${PROJECT_SOURCE_DIR}/cmake/tavo.pc.in" "${CMAKE_BINARY_DIR}/tavo.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/tavo.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
