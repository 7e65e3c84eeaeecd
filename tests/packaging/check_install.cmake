# Run as a CTest script: install, then configure, build and run the consumer two ways.
file(REMOVE_RECURSE ${SCRATCH_DIR})
set(prefix ${SCRATCH_DIR}/prefix)

function(run_step)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "step failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(STEP_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

run_step(${CMAKE_COMMAND} --install ${QOBASE_BINARY_DIR} --prefix ${prefix})

# find_package(QOBase)
run_step(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${SCRATCH_DIR}/cmake-consumer
  -G ${CMAKE_GENERATOR} -DCMAKE_PREFIX_PATH=${prefix})
run_step(${CMAKE_COMMAND} --build ${SCRATCH_DIR}/cmake-consumer)
run_step(${SCRATCH_DIR}/cmake-consumer/consumer)
if(NOT STEP_OUTPUT MATCHES "consumer ok")
  message(FATAL_ERROR "cmake consumer printed: ${STEP_OUTPUT}")
endif()

# pkg-config qobase
file(GLOB pcdirs ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
list(GET pcdirs 0 pcdir)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run_step(pkg-config --cflags --libs qobase)
string(STRIP "${STEP_OUTPUT}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
string(REGEX REPLACE "/pkgconfig$" "" libdir ${pcdir})
run_step(c++ -std=c++17 ${CONSUMER_SOURCE_DIR}/main.cpp ${flags} -Wl,-rpath,${libdir}
  -o ${SCRATCH_DIR}/pc-consumer)
run_step(${SCRATCH_DIR}/pc-consumer)
if(NOT STEP_OUTPUT MATCHES "consumer ok")
  message(FATAL_ERROR "pkg-config consumer printed: ${STEP_OUTPUT}")
endif()
