# Run with NM and MODULE. The compiler makes a symbol __emutls_v.NAME for each `thread_local` variable, or a section of
# that name. Threading.c serves one: the C++ runtime's exceptions.
execute_process(COMMAND "${NM}" "${MODULE}" OUTPUT_VARIABLE symbols ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "__emutls_v\\.[^\n]*" variables "${symbols}")
list(REMOVE_DUPLICATES variables)
list(REMOVE_ITEM variables "__emutls_v._ZZN12_GLOBAL__N_110get_globalEvE6global")
if(variables)
    message(FATAL_ERROR "the module has a thread_local variable, which toolchain/mingw/Threading.c does not serve: ${variables}")
endif()
