# cmake --install: a tree with headers, import libraries, DLLs, kvol and a CMake package; cpack: the same as a ZIP.
include(CMakePackageConfigHelpers)

set(package_targets korvane_abi korvaneLib korvaneafx korvaneafx_main korvanestore imgdecmp aygshell)
install(TARGETS ${package_targets} EXPORT korvaneLibTargets
    RUNTIME DESTINATION bin
    ARCHIVE DESTINATION lib)
install(TARGETS kvol RUNTIME DESTINATION bin)
install(FILES ${KORVANE_RUNTIME_DLLS} DESTINATION bin)

install(FILES korvanelib.h DESTINATION include/korvaneLib)
install(DIRECTORY base korvanedb registry graphics controls DESTINATION include/korvaneLib FILES_MATCHING PATTERN "*.h")
install(DIRECTORY platform/include/ DESTINATION include/korvaneLib/sdk)

install(EXPORT korvaneLibTargets NAMESPACE korvaneLib:: DESTINATION lib/cmake/korvaneLib)
configure_package_config_file(cmake/korvaneLibConfig.cmake.in ${CMAKE_BINARY_DIR}/package/korvaneLibConfig.cmake
    INSTALL_DESTINATION lib/cmake/korvaneLib)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/korvaneLibConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/korvaneLibConfig.cmake ${CMAKE_BINARY_DIR}/package/korvaneLibConfigVersion.cmake
    DESTINATION lib/cmake/korvaneLib)
# For hosts that are built on Linux.
install(FILES cmake/mingw32.cmake DESTINATION lib/cmake/korvaneLib)

# The licence of everything in the tree. What Debian has packaged has its licence in the package's "copyright".
install(FILES LICENSE DESTINATION licences RENAME korvaneLib.txt)
install(FILES ${CMAKE_BINARY_DIR}/lmdb/LICENSE DESTINATION licences RENAME LMDB.txt)
install(FILES ${CMAKE_BINARY_DIR}/lmdb/COPYRIGHT DESTINATION licences RENAME LMDB-copyright.txt)
install(FILES ${KORVANE_SQLITE_DIR}/package/LICENSE.md DESTINATION licences RENAME SQLite.txt)
foreach(licence CLI11=libcli11-dev nlohmann-json=nlohmann-json3-dev gcc-runtime=gcc-mingw-w64-i686-posix-runtime mingw-w64=mingw-w64-i686-dev)
    string(REPLACE "=" ";" licence "${licence}")
    list(GET licence 0 name)
    list(GET licence 1 package)
    install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${name}.txt)
endforeach()
install(FILES README.md DESTINATION .)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME korvaneLib-${PROJECT_VERSION}-win32)
set(CPACK_STRIP_FILES ON)
include(CPack)
