# Tests of the library as its users see it.
#
# The example programs of docs/examples/ are built against the shared library
# the way users build them and run as tests, so the documentation cannot rot.
file(GLOB webstep_doc_examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/examples/*.cpp)
foreach(example IN LISTS webstep_doc_examples)
  get_filename_component(name ${example} NAME_WE)
  add_executable(doc_example_${name} ${example})
  target_link_libraries(doc_example_${name} PRIVATE webstep::webstep)
  add_test(NAME docs.example.${name} COMMAND doc_example_${name}
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  set_tests_properties(docs.example.${name} PROPERTIES TIMEOUT 60)
endforeach()

# An out-of-tree program is configured against an installed copy of the
# library, once with find_package and once with pkg-config. The installed
# library is built like this tree; a sanitizer build would need the consumer
# built with the same runtime, so the test belongs to the normal build only.
if(NOT WEBSTEP_SANITIZE AND NOT WEBSTEP_TSAN AND TARGET webstep_cli)
  add_test(NAME consumer.builds_against_installed_library
    COMMAND bash ${PROJECT_SOURCE_DIR}/tests/consumer/run.sh
            ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}/tests/consumer
            ${PROJECT_BINARY_DIR}/consumer-test ${CMAKE_COMMAND} ${CMAKE_CXX_COMPILER})
  set_tests_properties(consumer.builds_against_installed_library PROPERTIES TIMEOUT 300)
endif()

# Every class of the public headers carries a documentation comment.
add_test(NAME api.classes_are_documented COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/doccheck.sh)
