# Writes the binary interface of LIBRARY to FOUND and compares it with the one in STORED: additions
# pass, anything else that has changed fails.
execute_process(
  COMMAND
    "${ABIDW}" --suppressions "${CMAKE_CURRENT_LIST_DIR}/public.abignore" --headers-dir "${HEADERS}"
    --exported-interfaces-only --drop-private-types --no-corpus-path --no-comp-dir-path
    --no-show-locs --out-file "${FOUND}" "${LIBRARY}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${ABIDIFF}" --no-added-syms "${STORED}" "${FOUND}"
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the binary interface is not the stored one (${result}); what a release adds "
                      "is stored by copying ${FOUND} to ${STORED}")
endif()
