# Run as a test: configure the project as on a machine without CLI11. The
# configuration must succeed, say that the tool is skipped, and still offer
# the library.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${PROJECT_DIR} -B ${WORK_DIR} -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=TRUE
          -DEXPRCURVE_BUILD_TESTS=OFF
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring without CLI11 failed:\n${out}\n${err}")
endif()
if(NOT out MATCHES "CLI11 not found: the exprcurve tool is skipped")
  message(FATAL_ERROR "no word that the tool is skipped:\n${out}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR} --target help OUTPUT_VARIABLE targets)
if(NOT targets MATCHES "exprcurve" OR targets MATCHES "exprcurve-cli")
  message(FATAL_ERROR "expected the library and no tool:\n${targets}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
