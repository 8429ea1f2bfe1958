# What "cmake --install" puts where, by component: library, development, command,
# editor.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigScript)
set(source_folder ${CMAKE_INSTALL_DATADIR}/ConfigScript/source)

install(TARGETS JavaScript FileHost HostDeclarations
    EXPORT ConfigScriptTargets
    LIBRARY
        DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT library
        NAMELINK_COMPONENT development)
install(EXPORT ConfigScriptTargets
    NAMESPACE ConfigScript::
    DESTINATION ${package_folder}
    COMPONENT development)

# Of the file host, the headers at its root.
install(DIRECTORY JavaScript host filehost
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ConfigScript
    COMPONENT development
    FILES_MATCHING PATTERN "*.h"
    # What no public header includes.
    PATTERN JavaScriptArgumentReader.h EXCLUDE
    PATTERN JavaScriptRun.h EXCLUDE
    PATTERN hosttypes EXCLUDE
    PATTERN json EXCLUDE
    PATTERN store EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/generated/JavaScript/JavaScriptExport.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ConfigScript/JavaScript
    COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/generated/filehost/FileHostExport.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ConfigScript/filehost
    COMPONENT development)

# For those who compile the library against a host of their own.
install(FILES ${ConfigScript_SOURCES} ${PROJECT_BINARY_DIR}/generated/JavaScript/JavaScriptExport.h
    DESTINATION ${source_folder}/JavaScript
    COMPONENT development)
install(FILES cmake/AddLibraryOnHost.cmake
    DESTINATION ${package_folder}
    COMPONENT development)

configure_package_config_file(cmake/ConfigScriptConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ConfigScriptConfig.cmake
    INSTALL_DESTINATION ${package_folder}
    PATH_VARS source_folder)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ConfigScriptConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/ConfigScriptConfig.cmake
    ${PROJECT_BINARY_DIR}/ConfigScriptConfigVersion.cmake
    DESTINATION ${package_folder}
    COMPONENT development)

file(RELATIVE_PATH path_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/configscript.pc.in ${PROJECT_BINARY_DIR}/configscript.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/configscript.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)

install(DIRECTORY types
    DESTINATION ${CMAKE_INSTALL_DATADIR}/ConfigScript
    COMPONENT development
    FILES_MATCHING PATTERN "*.d.ts")

# Programs find the libraries that are installed with them, wherever that is.
function(install_program target component)
    set_target_properties(${target} PROPERTIES
        INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    install(TARGETS ${target}
        DESTINATION ${CMAKE_INSTALL_BINDIR}
        COMPONENT ${component})
endfunction()
if(TARGET configscript)
    install_program(configscript command)
endif()
if(TARGET configscript-editor)
    install_program(configscript-editor editor)
endif()
set_target_properties(JavaScript PROPERTIES INSTALL_RPATH "$ORIGIN")
