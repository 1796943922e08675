# An event loop and a main() around tests of the layers that use Qt Core. Included by each
# folder of such tests, as what a package defines is known per folder.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core)
if(NOT TARGET tessivo_test_qt)
    tessivo_library(tessivo_test_qt
        SOURCES
            ${CMAKE_CURRENT_LIST_DIR}/QtTestMain.cpp
            ${CMAKE_CURRENT_LIST_DIR}/QtTestSupport.cpp
        LINK tessivo_test_devices tessivo_system tessivo_sound Qt6::Core GTest::gtest)
    target_include_directories(tessivo_test_qt PUBLIC ${PROJECT_SOURCE_DIR}/tests)
endif()
