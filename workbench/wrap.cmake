# The symbols that the workbench takes the place of, and the options of the linker that make it so: ZEB_WRAP_OPTIONS.

set(ZEB_WRAPPED_SYMBOLS
    # Heap
    malloc calloc realloc free posix_memalign CRYPTO_clear_realloc CRYPTO_clear_free
    _ZnwmRKSt9nothrow_t _ZnamRKSt9nothrow_t
    _ZnwmSt11align_val_tRKSt9nothrow_t _ZnamSt11align_val_tRKSt9nothrow_t
    _ZdlPv _ZdaPv _ZdlPvm _ZdaPvm _ZdlPvRKSt9nothrow_t _ZdaPvRKSt9nothrow_t
    _ZdlPvSt11align_val_t _ZdaPvSt11align_val_t _ZdlPvmSt11align_val_t _ZdaPvmSt11align_val_t
    # LogCapture
    syslog vsyslog __syslog_chk __vsyslog_chk LogSyslog_Send _ZN3Log5Impl_19PrintWithBacktrace_EPc)

# Calls and Clock: the rows of Calls.inc
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/Calls.inc zeb_call_rows REGEX "^ZEB_CALL")
foreach(zeb_call_row IN LISTS zeb_call_rows)
    string(REGEX REPLACE "^ZEB_CALL[A-Z_]*\\([^,]+, *([A-Za-z0-9_]+),.*" "\\1" zeb_call_name "${zeb_call_row}")
    list(APPEND ZEB_WRAPPED_SYMBOLS ${zeb_call_name})
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/Calls.inc)

list(TRANSFORM ZEB_WRAPPED_SYMBOLS PREPEND "LINKER:--wrap=" OUTPUT_VARIABLE ZEB_WRAP_OPTIONS)
# One symbol of each part, so that all are there before the library asks for the others.
list(APPEND ZEB_WRAP_OPTIONS LINKER:--undefined=__wrap_malloc LINKER:--undefined=__wrap_read LINKER:--undefined=__wrap_syslog)
