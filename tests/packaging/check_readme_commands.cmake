# Runs the README's "Using the library" commands exactly as written, in a scratch folder where
# `build` is this build tree: the install, the example program, the CMake project and the
# pkg-config build. Only the install prefix ($HOME/qobase) is replaced by a scratch one, and the
# environment the README does not ask for (PKG_CONFIG_PATH, LD_LIBRARY_PATH) is cleared, so the
# README cannot drift from what works.
# Variables: README, QOBASE_BINARY_DIR, SCRATCH_DIR.
file(REMOVE_RECURSE "${SCRATCH_DIR}")
file(MAKE_DIRECTORY "${SCRATCH_DIR}")
file(CREATE_LINK "${QOBASE_BINARY_DIR}" "${SCRATCH_DIR}/build" SYMBOLIC)
set(prefix "${SCRATCH_DIR}/prefix")
unset(ENV{PKG_CONFIG_PATH})
unset(ENV{LD_LIBRARY_PATH})
file(READ "${README}" readme)

# The fenced block after "<!-- checked by tests/packaging: NAME -->", prefix substituted.
function(readme_block name result)
  set(marker "<!-- checked by tests/packaging: ${name} -->")
  string(FIND "${readme}" "${marker}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "README.md has no block '${name}'")
  endif()
  string(SUBSTRING "${readme}" ${at} -1 rest)
  string(FIND "${rest}" "```" open)
  string(SUBSTRING "${rest}" ${open} -1 rest)
  string(FIND "${rest}" "\n" line_end)
  math(EXPR body_start "${line_end} + 1")
  string(SUBSTRING "${rest}" ${body_start} -1 rest)
  string(FIND "${rest}" "```" close)
  string(SUBSTRING "${rest}" 0 ${close} body)
  string(REPLACE "$HOME/qobase" "${prefix}" body "${body}")
  set(${result} "${body}" PARENT_SCOPE)
endfunction()

function(run_block name)
  readme_block(${name} commands)
  execute_process(COMMAND sh -e -c "${commands}" WORKING_DIRECTORY "${SCRATCH_DIR}"
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "README block '${name}' failed (${rc}):\n${commands}\n${out}\n${err}")
  endif()
  set(BLOCK_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

readme_block(my_tool.cpp program)
file(WRITE "${SCRATCH_DIR}/my_tool.cpp" "${program}")
readme_block(CMakeLists.txt project)
file(WRITE "${SCRATCH_DIR}/CMakeLists.txt" "${project}")

run_block(install)
foreach(way cmake pkg-config)
  run_block(${way})
  # The block's last command is the program; what comes before is build output.
  if(NOT BLOCK_OUTPUT MATCHES "(^|\n)take_07\\.caf\n$")
    message(FATAL_ERROR "README block '${way}': the program printed '${BLOCK_OUTPUT}'")
  endif()
endforeach()
