# Runs the inmem tool as a user would and checks its exit status and output.
function(expect_run expected_status expected_output)
  execute_process(COMMAND ${TOOL} ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "inmem ${ARGN}: exit ${status}, expected ${expected_status}\n${out}${err}")
  endif()
  if(NOT "${out}${err}" MATCHES "${expected_output}")
    message(FATAL_ERROR "inmem ${ARGN}: output does not match '${expected_output}':\n${out}${err}")
  endif()
endfunction()

expect_run(0 "Size = 1.5 Kilobytes" -m ${FIXTURE} get "DISK.id=\"sda\"")
expect_run(0 "\\[\"disk.id=\\\\\"sda\\\\\"\"\\]" -m ${FIXTURE} instances Disk --names --format json)
expect_run(1 "no instance Disk.Id=\"nope\"" -m ${FIXTURE} get "Disk.Id=\"nope\"")
expect_run(1 "no class named Nope" -m ${FIXTURE} class Nope)
expect_run(2 "A subcommand is required" -m ${FIXTURE})
expect_run(2 "missing.mof" -m missing.mof classes)
expect_run(0 "1 files, 5 qualifier declarations, 3 classes \\(0 without keys\\), 3 instances, 0 errors" check ${FIXTURE})
expect_run(0 "Uptime = 1 day, 1 hour, 1 minute, 1 second" inventory --root ${ROOT})

# The shell reads one command per line from its input.
execute_process(COMMAND ${TOOL} -m ${FIXTURE} shell INPUT_FILE ${SHELL_INPUT}
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
foreach(expected "Sys\nDisk\nSysDisk\n" "unknown command 'bogus'" "Size = 1.5 Kilobytes" "disk.id=\"sda\"\n")
  string(FIND "${out}${err}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "shell output lacks '${expected}':\n${out}${err}")
  endif()
endforeach()
