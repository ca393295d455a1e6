# Run as a test: install the build tree into a scratch prefix, then build and
# run a consumer against it, once through find_package and once through
# pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(PREFIX ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})
if(EXISTS ${PREFIX}/include/exprcurve/private)
  message(FATAL_ERROR "private headers were installed")
endif()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${PREFIX}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)

find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
  file(GLOB_RECURSE pc_files ${PREFIX}/exprcurve.pc)
  list(GET pc_files 0 pc_file)
  get_filename_component(pc_dir ${pc_file} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs exprcurve
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know exprcurve")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX} -std=c++17 ${SOURCE_DIR}/consumer.cpp ${flags} -o ${WORK_DIR}/consumer_pc)
  file(GLOB lib_dirs LIST_DIRECTORIES true ${PREFIX}/lib*)
  set(ld_path "")
  foreach(d ${lib_dirs})
    file(GLOB_RECURSE so_files ${d}/libexprcurve.so*)
    foreach(f ${so_files})
      get_filename_component(sd ${f} DIRECTORY)
      list(APPEND ld_path ${sd})
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES ld_path)
  string(REPLACE ";" ":" ld_path "${ld_path}")
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${ld_path} ${WORK_DIR}/consumer_pc)
endif()
