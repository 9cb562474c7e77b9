# Writes the C and the C++ program of a page to PAGE_NAME.c and .cpp in the folder OUT, when they changed.
function(extract_programs page out)
  file(READ "${page}" text)
  # A semicolon would split CMake's lists.
  string(REPLACE ";" "<semicolon>" text "${text}")
  cmake_path(GET page STEM name)
  foreach(language IN ITEMS c cpp)
    string(REGEX MATCH "\n```${language}\n(.*)" rest "${text}")
    string(FIND "${CMAKE_MATCH_1}" "\n```" end)
    string(SUBSTRING "${CMAKE_MATCH_1}" 0 ${end} program)
    string(REPLACE "<semicolon>" ";" program "${program}")
    file(CONFIGURE OUTPUT "${out}/${name}.${language}" CONTENT "${program}\n" @ONLY)
  endforeach()
endfunction()
