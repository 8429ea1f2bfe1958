# Debian packages: "cpack" in the build folder makes one for each component.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME configscript)
set(CPACK_PACKAGE_CONTACT "ConfigScript maintainers <maintainers@configscript.invalid>")
set(CPACK_PACKAGE_VENDOR "ConfigScript")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each component's description begins with its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL library development command)
if(TARGET configscript-editor)
    list(APPEND CPACK_COMPONENTS_ALL editor)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libconfigscript${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "library for configuration scripts\nRuns scripts written in JavaScript against the configuration and\nprocess-data trees of a host application.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libconfigscript-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev, qtdeclarative5-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "library for configuration scripts - development files\nHeaders, package files for CMake and pkg-config, and the sources for those\nwho compile the library against a host of their own.")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME configscript)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_COMMAND_DEPENDS library)
set(CPACK_COMPONENT_COMMAND_DESCRIPTION
    "command for projects with configuration scripts\nChecks, tries and runs the scripts of a project of configuration and\nprocess-data trees in JSON files.")

set(CPACK_DEBIAN_EDITOR_PACKAGE_NAME configscript-editor)
set(CPACK_DEBIAN_EDITOR_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_EDITOR_DEPENDS library)
set(CPACK_COMPONENT_EDITOR_DESCRIPTION
    "desktop editor for projects with configuration scripts\nEdits the instances of a project, runs their scripts meanwhile, and shows\nwhat these write and report.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

execute_process(
    COMMAND gzip -9 --no-name --stdout ${PROJECT_SOURCE_DIR}/cmake/debian/changelog
    OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz)
foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} component)
    set(package ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
    string(TOLOWER ${component} component)
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
endforeach()

include(CPack)
