# configscript_add_library(<name> <host>)
#
# The library once more, as a static library, compiled against the headers of the target <host>,
# which defines the host's symbols and whose include directories hold a folder host/.
#
# Needs Qt5::Core and Qt5::Qml. ConfigScript_SOURCES and ConfigScript_INCLUDE_DIRS are set by those
# who include this file.
function(configscript_add_library name host)
    add_library(${name} STATIC ${ConfigScript_SOURCES})
    set_target_properties(${name} PROPERTIES
        AUTOMOC ON
        CXX_STANDARD 17
        CXX_STANDARD_REQUIRED ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_definitions(${name}
        PUBLIC JAVASCRIPT_STATIC_DEFINE
        # Warnings name their function in release builds, too.
        PRIVATE QT_MESSAGELOGCONTEXT)
    # The host's headers come first: they take the place of the project's own.
    target_include_directories(${name} PUBLIC
        $<TARGET_PROPERTY:${host},INTERFACE_INCLUDE_DIRECTORIES>
        ${ConfigScript_INCLUDE_DIRS})
    target_link_libraries(${name} PUBLIC Qt5::Core Qt5::Qml ${host})
endfunction()
