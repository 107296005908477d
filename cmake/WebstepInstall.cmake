# Installation: the shared and static libraries, the public headers under
# include/webstep/, the webstep tool with its man page, a CMake package
# (find_package(webstep CONFIG) -> webstep::webstep) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(WEBSTEP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/webstep)

# Public headers keep their folder: <webstep/forms/Form.h>.
foreach(component IN LISTS WEBSTEP_COMPONENTS)
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${component}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/webstep/${component})
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/webstep.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/webstep)
# The C header of compiled scripts: <webstep/runtime.h> (not part of webstep.h,
# which is C++).
install(FILES ${PROJECT_SOURCE_DIR}/runtime.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/webstep)

install(TARGETS webstep webstep_static EXPORT webstepTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT webstepTargets NAMESPACE webstep:: DESTINATION ${WEBSTEP_CMAKE_DIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/webstepConfig.cmake.in
  ${PROJECT_BINARY_DIR}/webstepConfig.cmake INSTALL_DESTINATION ${WEBSTEP_CMAKE_DIR})
# Before 1.0 every minor version may change the interface.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(WEBSTEP_COMPATIBILITY SameMinorVersion)
else()
  set(WEBSTEP_COMPATIBILITY SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/webstepConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY ${WEBSTEP_COMPATIBILITY})
install(FILES ${PROJECT_BINARY_DIR}/webstepConfig.cmake ${PROJECT_BINARY_DIR}/webstepConfigVersion.cmake
  DESTINATION ${WEBSTEP_CMAKE_DIR})

# The pkg-config file finds the prefix from its own place, so an install with
# "cmake --install --prefix" elsewhere than the configured prefix still works.
set(WEBSTEP_PC_UP "")
set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  message(FATAL_ERROR "webstep: CMAKE_INSTALL_LIBDIR must be relative to the prefix")
endif()
string(REPLACE "/" ";" pc_parts "${pc_dir}")
foreach(part IN LISTS pc_parts)
  if(part)
    string(APPEND WEBSTEP_PC_UP "../")
  endif()
endforeach()
string(REGEX REPLACE "/$" "" WEBSTEP_PC_UP "${WEBSTEP_PC_UP}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/webstep.pc.in ${PROJECT_BINARY_DIR}/webstep.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/webstep.pc DESTINATION ${pc_dir})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.cpp")

if(TARGET webstep_cli)
  install(TARGETS webstep_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The man page is written from the tool's own help texts. Sanitizer builds
  # are for testing and are not installed, so they skip it (running an
  # instrumented tool at build time would only slow them down).
  find_program(WEBSTEP_HELP2MAN help2man)
  if(WEBSTEP_SANITIZE OR WEBSTEP_TSAN OR WEBSTEP_FUZZ)
    # nothing to write
  elseif(WEBSTEP_HELP2MAN)
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/webstep.1
      COMMAND bash ${PROJECT_SOURCE_DIR}/scripts/manpage.sh $<TARGET_FILE:webstep_cli>
              ${PROJECT_BINARY_DIR}/webstep.1
      DEPENDS webstep_cli ${PROJECT_SOURCE_DIR}/scripts/manpage.sh
      COMMENT "Writing the webstep man page from its help texts" VERBATIM)
    add_custom_target(webstep_man ALL DEPENDS ${PROJECT_BINARY_DIR}/webstep.1)
    install(FILES ${PROJECT_BINARY_DIR}/webstep.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 OPTIONAL)
  else()
    message(WARNING "webstep: help2man not found, the man page is not built (scripts/bootstrap.sh installs it)")
  endif()
endif()

# The API reference, on request only (not part of "all").
find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
  set(WEBSTEP_APIDOC_DIR ${PROJECT_BINARY_DIR}/apidoc)
  set(WEBSTEP_APIDOC_INPUT ${PROJECT_SOURCE_DIR}/docs)
  foreach(component IN LISTS WEBSTEP_COMPONENTS)
    string(APPEND WEBSTEP_APIDOC_INPUT " ${PROJECT_SOURCE_DIR}/${component}")
  endforeach()
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
  add_custom_target(webstep_apidoc
    COMMAND ${DOXYGEN_EXECUTABLE} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Writing the API reference to ${WEBSTEP_APIDOC_DIR}/html" VERBATIM)
endif()
