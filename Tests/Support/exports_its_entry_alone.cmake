# Fails unless the shared object LIBRARY defines ext_interface and no other symbol for the loader. NM is the program nm.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
if(NOT symbols MATCHES "^[0-9a-f]+ T ext_interface\n$")
  message(FATAL_ERROR "${LIBRARY} exports:\n${symbols}")
endif()
