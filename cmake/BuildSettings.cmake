# How the project's own code is compiled; nothing of it reaches those who link to the library.
add_library(BuildSettings INTERFACE)
target_compile_definitions(BuildSettings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS
    # Files of any size and number, on 32-bit machines, too.
    _FILE_OFFSET_BITS=64
    # Warnings name their function in release builds, too.
    QT_MESSAGELOGCONTEXT)

option(CONFIGSCRIPT_STRICT "Compile with many warnings, each of them an error" OFF)
if(CONFIGSCRIPT_STRICT)
    target_compile_options(BuildSettings INTERFACE -Wall -Wextra -Wpedantic -Werror)
endif()

# Most of the time of compiling a file goes into Qt's headers. So they are compiled once, for all
# targets with the options below; those with options or headers of their own do likewise.
set(CONFIGSCRIPT_QT_HEADERS ${CMAKE_CURRENT_LIST_DIR}/QtHeaders.h)
add_library(QtHeaders OBJECT ${CMAKE_CURRENT_LIST_DIR}/QtHeaders.cpp)
set_target_properties(QtHeaders PROPERTIES AUTOMOC OFF)
target_link_libraries(QtHeaders PRIVATE Qt5::Core BuildSettings)
target_precompile_headers(QtHeaders PRIVATE ${CONFIGSCRIPT_QT_HEADERS})
