# Files built into a program as texts. As a script (cmake -P) it writes the source that holds them:
# OUT is that source, FILES a list of NAME=PATH.
if(CMAKE_SCRIPT_MODE_FILE)
  set(rows "")
  foreach(file IN LISTS FILES)
    string(REGEX MATCH "^([^=]+)=(.+)$" matched "${file}")
    set(name "${CMAKE_MATCH_1}")
    file(READ "${CMAKE_MATCH_2}" content)
    # A page has nothing beside it: no maps of the sources, no images of a style.
    string(REGEX REPLACE "[\r\n]*//# sourceMappingURL=[^\r\n]*" "" content "${content}")
    if(name MATCHES "[.]css$")
      string(REGEX REPLACE "url\\([^)]*\\)" "none" content "${content}")
      string(REGEX REPLACE "/\\*# sourceMappingURL=[^*]*\\*/" "" content "${content}")
    endif()
    string(APPEND rows "    {\"${name}\", R\"tavo~(${content})tavo~\"},\n")
  endforeach()
  file(WRITE "${OUT}" "// Written by the build from the files of a page.\n#include \"assets.h\"\n\n#include <utility>\n
namespace tavo::tool {

std::string_view asset(std::string_view name) {
  static constexpr std::pair<std::string_view, std::string_view> kAssets[] = {
${rows}    {\"\", \"\"},
  };
  for (const auto& [known, content] : kAssets) {
    if (known == name) return content;
  }
  return {};
}

}  // namespace tavo::tool
")
  return()
endif()

# Adds to a target the function asset() of assets.h with files, each NAME=PATH.
function(tavo_assets target)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}_assets.cpp")
  set(paths)
  foreach(file IN LISTS ARGN)
    string(REGEX REPLACE "^[^=]+=" "" path "${file}")
    list(APPEND paths "${path}")
  endforeach()
  add_custom_command(
    OUTPUT "${source}"
    COMMAND "${CMAKE_COMMAND}" "-DOUT=${source}" "-DFILES=${ARGN}" -P
            "${PROJECT_SOURCE_DIR}/cmake/TavoAssets.cmake"
    DEPENDS ${paths} "${PROJECT_SOURCE_DIR}/cmake/TavoAssets.cmake"
    VERBATIM)
  target_sources(${target} PRIVATE "${source}")
  # A library is one literal, longer than every compiler must take.
  set_source_files_properties("${source}" PROPERTIES SKIP_PRECOMPILE_HEADERS ON
                                                     COMPILE_OPTIONS -Wno-overlength-strings)
endfunction()
