# A private sound server, and a probe and a controller in its graph, for tests of every layer.
tessivo_library(tessivo_test_sound_server
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/GraphNode.cpp
        ${CMAKE_CURRENT_LIST_DIR}/GraphProbe.cpp
        ${CMAKE_CURRENT_LIST_DIR}/MidiSender.cpp
        ${CMAKE_CURRENT_LIST_DIR}/PrivatePipeWire.cpp
    LINK PkgConfig::PipeWire Threads::Threads)
target_include_directories(tessivo_test_sound_server PUBLIC ${PROJECT_SOURCE_DIR}/tests)
target_compile_definitions(tessivo_test_sound_server PRIVATE
    TESSIVO_VIRTUAL_SOUND_SCRIPT="${PROJECT_SOURCE_DIR}/scripts/virtual-sound.sh")
