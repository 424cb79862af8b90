# GoogleTest from Debian's sources.
if(NOT TARGET GTest::gtest)
    set(sources /usr/src/googletest)
    add_library(gtest_for_windows STATIC
        ${sources}/googletest/src/gtest-all.cc ${sources}/googlemock/src/gmock-all.cc)
    target_include_directories(gtest_for_windows SYSTEM
        PUBLIC ${sources}/googletest/include ${sources}/googlemock/include
        PRIVATE ${sources}/googletest ${sources}/googlemock)
    target_compile_options(gtest_for_windows PRIVATE -w)
    add_library(gtest_main_for_windows STATIC ${sources}/googlemock/src/gmock_main.cc)
    target_link_libraries(gtest_main_for_windows PUBLIC gtest_for_windows)
    add_library(GTest::gtest ALIAS gtest_for_windows)
    add_library(GTest::gmock ALIAS gtest_for_windows)
    add_library(GTest::gtest_main ALIAS gtest_main_for_windows)
endif()
set(GTest_FOUND TRUE)
