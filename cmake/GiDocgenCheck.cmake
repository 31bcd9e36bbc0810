# Runs `gi-docgen check` on the Lxhf GIR and counts what it finds
# undocumented. A finding fails the build only with STRICT: the doc comments
# of the GObject layer, not this rule, decide whether there are any.
# Usage: cmake -DGI_DOCGEN=... -DGIR=... -DARGS=a|b|c -DSTRICT=ON|OFF -P GiDocgenCheck.cmake
# (ARGS: gi-docgen's options, separated by |)
cmake_minimum_required(VERSION 3.25)
string(REPLACE "|" ";" ARGS "${ARGS}")
execute_process(COMMAND ${GI_DOCGEN} check --quiet ${ARGS} ${GIR}
  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
# It colours its log lines even into a pipe.
string(ASCII 27 escape)
string(REGEX REPLACE "${escape}\\[[0-9;]*m" "" report "${out}${err}")
string(REGEX MATCHALL "WARNING: [^\n]*" findings "${report}")
list(LENGTH findings count)
if(result EQUAL 0 AND count EQUAL 0)
  message(STATUS "gi-docgen check: every Lxhf symbol is documented")
  return()
endif()
if(count EQUAL 0)
  # Failed without a finding: gi-docgen itself could not run.
  message(FATAL_ERROR "gi-docgen check failed:\n${report}")
endif()
list(JOIN findings "\n" lines)
message(NOTICE "${lines}")
if(STRICT)
  message(FATAL_ERROR "gi-docgen check: ${count} warnings about undocumented Lxhf symbols")
endif()
message(NOTICE "gi-docgen check: ${count} warnings about undocumented Lxhf symbols "
  "(with -DLXHF_DOCS_STRICT=ON, the default, they fail the build)")
