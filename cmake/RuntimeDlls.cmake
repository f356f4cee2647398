# The compiler's runtime lies beside the programs: exceptions cross our DLLs only when all of them share one runtime.
set(runtime_dlls libstdc++-6.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
if(CMAKE_CXX_FLAGS MATCHES "stack-protector")
    list(APPEND runtime_dlls libssp-0.dll)
endif()
foreach(dll IN LISTS runtime_dlls)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT EXISTS "${path}")
        # The thread library is not in the compiler's own folder.
        set(path /usr/i686-w64-mingw32/lib/${dll})
    endif()
    if(NOT EXISTS "${path}")
        message(FATAL_ERROR "${dll} is not beside ${CMAKE_CXX_COMPILER}: is the compiler installed whole?")
    endif()
    file(COPY "${path}" DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
    list(APPEND KORVANE_RUNTIME_DLLS "${path}")
endforeach()
