# Compiles SOURCE for MACHINE in MSVC's object form, links it with the .lib files of both libraries in
# LIBRARIES and runs it beside their DLLs.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${text}")
  endif()
endfunction()

file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}")
run("${CLANG}" --target=${MACHINE}-pc-windows-msvc -std=c99 -ffreestanding -Wall -Wextra -Werror -O1
    -isystem "${INCLUDE}" -c "${SOURCE}" -o "${SCRATCH}/host.obj")
run("${LINKER}" /nologo /nodefaultlib /subsystem:console /entry:host "/out:${SCRATCH}/host.exe"
    "${SCRATCH}/host.obj" "${LIBRARIES}/lib/tavo.lib" "${LIBRARIES}/lib/tavosurvey.lib")
file(COPY "${LIBRARIES}/bin/tavo.dll" "${LIBRARIES}/bin/tavosurvey.dll" DESTINATION "${SCRATCH}")
run(${EMULATOR} "${SCRATCH}/host.exe")
