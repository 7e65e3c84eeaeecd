# Runs `qobase xml` on small files. Variables: QOBASE (the binary), WORK_DIR (emptied first).
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

function(run expected_code expected_out)
  execute_process(COMMAND "${QOBASE}" xml ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out
    ERROR_VARIABLE err)
  if(NOT code STREQUAL expected_code OR NOT out STREQUAL expected_out)
    message(FATAL_ERROR "qobase xml ${ARGN}: exit ${code}, output\n${out}\nerror\n${err}")
  endif()
endfunction()

# Text before, between and after child elements stays with its element, as one "#text" member.
file(WRITE "${WORK_DIR}/mixed.xml" "<a k=\"v\">lead<b x=\"1\"/>tail<c>t</c></a>\n")
run(0 "{\n \"a\": {\n  \"k\": \"v\",\n  \"b\": {\n   \"x\": \"1\"\n  },\n  \"c\": \"t\",\n  \"#text\": \"leadtail\"\n }\n}\n"
    tojson "${WORK_DIR}/mixed.xml")
file(WRITE "${WORK_DIR}/broken.xml" "<a><b></a>")
run(1 "" tojson "${WORK_DIR}/broken.xml")

file(WRITE "${WORK_DIR}/s.xsd" "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element name=\"n\" type=\"xs:int\"/></xs:schema>")
file(WRITE "${WORK_DIR}/good.xml" "<n>4</n>")
file(WRITE "${WORK_DIR}/bad.xml" "<n>four</n>")
run(0 "${WORK_DIR}/good.xml: valid\n" validate "${WORK_DIR}/good.xml" "${WORK_DIR}/s.xsd")
run(1 "" validate "${WORK_DIR}/bad.xml" "${WORK_DIR}/s.xsd")
