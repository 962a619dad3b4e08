# What can be said of the sources without running the program: "validate" takes seconds and is itself run by a test, "check"
# adds clang-tidy on every source. The includes are checked by each build (CheckIncludes.cmake).
find_program(CHECK_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
add_custom_target(validate
  COMMAND tools/check-format
  COMMAND desktop-file-validate desktop/veltrane.desktop
  COMMAND appstreamcli validate --no-net ${CMAKE_BINARY_DIR}/desktop/veltrane.metainfo.xml
  COMMAND ${CHECK_PYTHON} -B tests/e2e/help_test.py
  WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} USES_TERMINAL VERBATIM)
add_custom_target(check
  COMMAND tools/check-tidy --all
  WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} USES_TERMINAL VERBATIM)
# clang-tidy reads headers that the build makes.
add_dependencies(check validate Veltrane)
