# Runs `qobase xml` on small files. Variables: QOBASE (the binary), WORK_DIR (emptied first).
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
function(run expected_code expected_out)
  execute_process(COMMAND "${QOBASE}" xml ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out)
  if(NOT code STREQUAL expected_code OR NOT out STREQUAL expected_out)
    message(FATAL_ERROR "qobase xml ${ARGN}: exit ${code}, output\n${out}")
  endif()
endfunction()
# Text before, between and after child elements stays with its element, as one "#text" member.
file(WRITE "${WORK_DIR}/mixed.xml" "<a k=\"v\">lead<b x=\"1\"/>tail<c>t</c></a>\n")
run(0 "{\n \"a\": {\n  \"k\": \"v\",\n  \"b\": {\n   \"x\": \"1\"\n  },\n  \"c\": \"t\",\n  \"#text\": \"leadtail\"\n }\n}\n"
    tojson "${WORK_DIR}/mixed.xml")
file(WRITE "${WORK_DIR}/broken.xml" "<a><b></a>")
run(1 "" tojson "${WORK_DIR}/broken.xml")
