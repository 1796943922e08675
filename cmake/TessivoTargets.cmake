# One place for what every target of ours is compiled with.

add_library(tessivo_options INTERFACE)
target_compile_options(tessivo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual)
target_include_directories(tessivo_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# PipeWire's package defines it for whatever links it; a precompiled header is shared only where
# all have it.
target_compile_definitions(tessivo_options INTERFACE _REENTRANT)

if(TESSIVO_SANITIZER)
    target_compile_options(tessivo_options INTERFACE
        -fsanitize=${TESSIVO_SANITIZER} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(tessivo_options INTERFACE -fsanitize=${TESSIVO_SANITIZER})
endif()

# Headers that most sources include, and the libraries that they come from.
set(tessivo_headers_std
    <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable> <cstdint> <filesystem>
    <functional> <map> <memory> <mutex> <optional> <span> <string> <system_error> <thread> <vector>)
set(tessivo_headers_qt
    <QCoreApplication> <QDateTime> <QDir> <QFileInfo> <QHash> <QJsonDocument> <QJsonObject>
    <QList> <QObject> <QPointer> <QString> <QTimer> <QUrl> <QVariant>)
set(tessivo_libraries_qt Qt6::Core)
set(tessivo_headers_quick <QtQml/qqml.h> <QtQml/qqmlprivate.h> <QtQml/qjsengine.h>)
set(tessivo_libraries_quick Qt6::Quick Qt6::QuickControls2)
set(tessivo_headers_gtest <gtest/gtest.h>)
set(tessivo_libraries_gtest GTest::gtest)

# tessivo_precompile(target [quick] [gtest]): compiles these headers once for all targets that
# name the same, with those of std, and of qt in a folder that has looked for Qt. They are
# compiled for a target of their own: one with definitions of its own could not share them.
function(tessivo_precompile target)
    set(lists std ${ARGN})
    if(Qt6_FOUND)
        list(INSERT lists 1 qt)
    endif()
    list(JOIN lists _ shared)
    string(PREPEND shared tessivo_headers_)
    if(NOT TARGET ${shared})
        set(empty ${CMAKE_CURRENT_BINARY_DIR}/${shared}.cpp)
        file(CONFIGURE OUTPUT ${empty} CONTENT "// Only its headers count.\n")
        add_library(${shared} OBJECT ${empty})
        set_target_properties(${shared} PROPERTIES AUTOMOC OFF AUTOUIC OFF)
        foreach(list ${lists})
            target_precompile_headers(${shared} PRIVATE ${tessivo_headers_${list}})
            target_link_libraries(${shared} PRIVATE ${tessivo_libraries_${list}} tessivo_options)
        endforeach()
    endif()
    target_precompile_headers(${target} REUSE_FROM ${shared})
endfunction()

# tessivo_library(name SOURCES ... [LINK ...]): a static library of one layer. LINK names
# the layers and packages it may use; the link graph is the only way to their headers'
# symbols, which keeps the arrows between layers pointing down.
function(tessivo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE tessivo_options)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    tessivo_precompile(${name})
endfunction()

# tessivo_set_up_qt(): what a folder of Qt targets needs after it has found Qt. Newer versions have
# each folder of a QML module know that it belongs to one.
macro(tessivo_set_up_qt)
    qt_standard_project_setup()
    if(QT_KNOWN_POLICY_QTP0004)
        qt_policy(SET QTP0004 NEW)
    endif()
endmacro()

# tessivo_find_private_gui(): finds Qt's GUI with its private headers, which newer versions have as
# a package of its own.
macro(tessivo_find_private_gui)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Gui)
    find_package(Qt6GuiPrivate QUIET HINTS ${Qt6_DIR}/..)
endmacro()

# tessivo_test(name SOURCES ... [LINK ...] [REALTIME] [SERIAL]): a GoogleTest
# program, one CTest entry per case. REALTIME is for tests on a running sound server, which get
# the label "realtime"; SERIAL for those of them that must have the machine to themselves.
function(tessivo_test name)
    cmake_parse_arguments(ARG "REALTIME;SERIAL" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} tessivo_options GTest::gtest)
    if(NOT "GTest::gtest_main" IN_LIST ARG_LINK)
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    tessivo_precompile(${name} gtest)
    # Only a test that hangs comes to it, however busy the machine is.
    set(properties TIMEOUT 300)
    if(ARG_REALTIME OR ARG_SERIAL)
        list(APPEND properties LABELS realtime)
    endif()
    if(ARG_SERIAL)
        list(APPEND properties RUN_SERIAL TRUE)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()

# tessivo_describe_types(target): descriptions of a Qt library's types for the QML compiler and the
# linter, which need to know the properties of the types that Views/ForeignTypes.h registers. In the
# library's own folder: from another one newer versions of Qt describe nothing.
function(tessivo_describe_types target)
    qt_extract_metatypes(${target})
    # In a build folder from before the library was described, its generated code lacks them
    # and would not be generated again.
    get_target_property(folder ${target} BINARY_DIR)
    set(folder ${folder}/${target}_autogen)
    file(GLOB_RECURSE generated ${folder}/moc_*.cpp)
    foreach(source ${generated})
        if(NOT EXISTS ${source}.json)
            file(REMOVE_RECURSE ${folder})
            break()
        endif()
    endforeach()
endfunction()

# tessivo_qml_module(name URI uri [SOURCES ...] QML_FILES ... [RESOURCES ...]): a static QML module,
# compiled ahead of time unless -DTESSIVO_QML_OPTIONS=NO_CACHEGEN. A program links it and its plugin,
# name + "plugin", and imports the plugin.
function(tessivo_qml_module name)
    qt_add_library(${name} STATIC)
    qt_add_qml_module(${name} VERSION 1.0 RESOURCE_PREFIX /qt-project.org/imports
        ${TESSIVO_QML_OPTIONS} ${ARGN})
    target_link_libraries(${name} PRIVATE tessivo_options)
    tessivo_precompile(${name} quick)
    tessivo_batch_generated(${name})
endfunction()

# tessivo_translations(variable FILE...): translations as the toolkit reads them, made of those that
# translators write; to be compiled into a QML module, in its folder "translations".
function(tessivo_translations variable)
    find_program(TESSIVO_LRELEASE NAMES lrelease lrelease6 lrelease-qt6 REQUIRED
        HINTS ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS} ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_LIBEXECS})
    foreach(source ${ARGN})
        cmake_path(GET source STEM name)
        set(file ${CMAKE_CURRENT_BINARY_DIR}/${name}.qm)
        set(release ${TESSIVO_LRELEASE} -silent ${source} -qm ${file})
        # Now as well, because the toolkit copies resources while it configures.
        execute_process(COMMAND ${release} COMMAND_ERROR_IS_FATAL ANY)
        add_custom_command(OUTPUT ${file} COMMAND ${release} DEPENDS ${source} VERBATIM)
        set_source_files_properties(${file} PROPERTIES QT_RESOURCE_ALIAS translations/${name}.qm)
        list(APPEND files ${file})
    endforeach()
    set(${variable} ${files} PARENT_SCOPE)
endfunction()

# tessivo_batch_generated(target): compiles what the QML compiler made for a module in batches of
# ten files, as each reads the same headers, and without our warnings, which are for what is
# written here.
function(tessivo_batch_generated target)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "/qmlcache/.*_qml\\.cpp$")
    set_source_files_properties(${sources} PROPERTIES HEADER_FILE_ONLY TRUE)
    list(LENGTH sources left)
    set(number 0)
    while(left GREATER 0)
        list(SUBLIST sources 0 10 batch)
        list(REMOVE_ITEM sources ${batch})
        list(LENGTH sources left)
        list(TRANSFORM batch REPLACE "(.+)" "#include \"\\1\"\n" OUTPUT_VARIABLE lines)
        list(JOIN lines "" lines)
        set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}_qml_${number}.cpp)
        file(CONFIGURE OUTPUT ${file} CONTENT "${lines}" @ONLY)
        set_source_files_properties(${file} PROPERTIES
            COMPILE_OPTIONS -w OBJECT_DEPENDS "${batch}" SKIP_AUTOGEN TRUE)
        target_sources(${target} PRIVATE ${file})
        math(EXPR number "${number} + 1")
    endwhile()
endfunction()
