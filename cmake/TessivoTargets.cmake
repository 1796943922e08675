# One place for what every target of ours is compiled with.

add_library(tessivo_options INTERFACE)
target_compile_options(tessivo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Werror)
target_include_directories(tessivo_options INTERFACE ${PROJECT_SOURCE_DIR}/src)

if(TESSIVO_SANITIZER)
    target_compile_options(tessivo_options INTERFACE
        -fsanitize=${TESSIVO_SANITIZER} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(tessivo_options INTERFACE -fsanitize=${TESSIVO_SANITIZER})
endif()

# tessivo_library(name SOURCES ... [LINK ...]): a static library of one layer. LINK names
# the layers and packages it may use; the link graph is the only way to their headers'
# symbols, which keeps the arrows between layers pointing down.
function(tessivo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE tessivo_options)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

# tessivo_test(name SOURCES ... [LINK ...] [TIMEOUT s] [SERIAL]): a GoogleTest program, one
# CTest entry per case. SERIAL is for tests on a running sound server: they have the machine
# to themselves and the label "realtime".
function(tessivo_test name)
    cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LINK" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK} tessivo_options GTest::gtest)
    if(NOT "GTest::gtest_main" IN_LIST ARG_LINK)
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    set(properties TIMEOUT ${ARG_TIMEOUT})
    if(ARG_SERIAL)
        list(APPEND properties RUN_SERIAL TRUE LABELS realtime)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()

# tessivo_describe_types(target): descriptions of a Qt library's types for the QML compiler.
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
# compiled ahead of time. A program links it and its plugin, name + "plugin", and imports the plugin.
function(tessivo_qml_module name)
    qt_add_library(${name} STATIC)
    qt_add_qml_module(${name} VERSION 1.0 RESOURCE_PREFIX /qt-project.org/imports ${ARGN})
    target_link_libraries(${name} PRIVATE tessivo_options)
    # Every generated file includes the same headers, which take most of its compilation.
    target_precompile_headers(${name} PRIVATE
        <QtQml/qqmlprivate.h> <QtQml/qqmlcomponent.h> <QtQml/qqmlengine.h> <QtQml/qjsengine.h>)
    tessivo_silence_generated_qml(${name})
endfunction()

# Our warnings are for what is written here, not for what the QML compiler generates.
function(tessivo_silence_generated_qml name)
    get_target_property(sources ${name} SOURCES)
    list(FILTER sources INCLUDE REGEX "/qmlcache/")
    set_source_files_properties(${sources} TARGET_DIRECTORY ${name}
        PROPERTIES COMPILE_OPTIONS -w)
endfunction()
