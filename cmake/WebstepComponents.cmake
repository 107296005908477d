# webstep_component(<name> [SOURCES extra...])
# Builds every .cpp file of the calling folder (plus the extra sources given)
# into the object library ws_<name>.
function(webstep_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(APPEND sources ${ARG_SOURCES})
  if(NOT sources)
    return()
  endif()
  add_library(ws_${name} OBJECT ${sources})
  target_link_libraries(ws_${name} PUBLIC webstep_common)
  # Only what the headers mark WEBSTEP_API is exported from the shared library.
  set_target_properties(ws_${name} PROPERTIES CXX_VISIBILITY_PRESET hidden)
endfunction()

# webstep_test(<name> COMPONENTS <component>...)
# Builds every .cpp file of the calling folder into the test program
# test_<name>, linked with the object libraries of the given components, and
# registers each of its test cases with ctest.
function(webstep_test name)
  cmake_parse_arguments(ARG "" "" "COMPONENTS;LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  foreach(component IN LISTS ARG_COMPONENTS)
    if(TARGET ws_${component})
      target_link_libraries(test_${name} PRIVATE ws_${component})
    endif()
  endforeach()
  target_link_libraries(test_${name} PRIVATE webstep_common GTest::gmock GTest::gtest_main ${ARG_LIBS})
  target_compile_definitions(test_${name} PRIVATE
    WEBSTEP_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    WEBSTEP_SHARED_DIR="${PROJECT_SOURCE_DIR}/../shared")
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  gtest_discover_tests(test_${name} DISCOVERY_MODE PRE_TEST
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} PROPERTIES TIMEOUT 600)
endfunction()
