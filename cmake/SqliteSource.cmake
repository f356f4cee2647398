# Makes SQLite's one-file source out of its source package (fetched by scripts/setup.sh), in the build folder. That
# takes tclsh and a compiler for the build machine, because SQLite's parser is generated.
# Sets KORVANE_SQLITE_DIR and defines korvane_sqlite_library().
file(GLOB package ${CMAKE_SOURCE_DIR}/build/deps/sqlite3/sqlite3_3.40.1*.orig.tar.*)
if(NOT package)
    message(FATAL_ERROR "The source package of sqlite3 3.40.1 is not in build/deps/sqlite3: run scripts/setup.sh first.")
endif()
set(KORVANE_SQLITE_DIR ${CMAKE_BINARY_DIR}/sqlite)
if(NOT EXISTS ${KORVANE_SQLITE_DIR}/sqlite3.c)
    message(STATUS "Making SQLite's one-file source")
    file(MAKE_DIRECTORY ${KORVANE_SQLITE_DIR}/package ${KORVANE_SQLITE_DIR}/made)
    execute_process(COMMAND tar -xf ${package} -C ${KORVANE_SQLITE_DIR}/package --strip-components=1 COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND make -s -f ${KORVANE_SQLITE_DIR}/package/main.mk TOP=${KORVANE_SQLITE_DIR}/package
                            "BCC=gcc -O1" TCC=gcc TCLSH=tclsh sqlite3.c
                    WORKING_DIRECTORY ${KORVANE_SQLITE_DIR}/made OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(COPY ${KORVANE_SQLITE_DIR}/made/sqlite3.h DESTINATION ${KORVANE_SQLITE_DIR})
    file(COPY ${KORVANE_SQLITE_DIR}/made/sqlite3.c DESTINATION ${KORVANE_SQLITE_DIR})
endif()

# korvane_sqlite_library(TARGET [DEFINITION...]): SQLite as a static library, built with these definitions.
function(korvane_sqlite_library target)
    add_library(${target} STATIC EXCLUDE_FROM_ALL ${KORVANE_SQLITE_DIR}/sqlite3.c)
    target_include_directories(${target} SYSTEM PUBLIC ${KORVANE_SQLITE_DIR})
    target_compile_definitions(${target} PRIVATE ${ARGN})
    target_compile_options(${target} PRIVATE -w)
endfunction()
