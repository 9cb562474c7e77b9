# The shared library and its exports: exactly the names in src/api/tavo.def, undecorated.
add_library(tavo SHARED $<TARGET_OBJECTS:tavo_objects>)
add_library(tavo::tavo ALIAS tavo)
target_include_directories(tavo PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                       $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(tavo PRIVATE $<BUILD_INTERFACE:tavo_compile>)
set_target_properties(tavo PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
                                      SOVERSION ${PROJECT_VERSION_MAJOR})
