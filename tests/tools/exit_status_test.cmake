# Runs the inmem tool as a user would and checks its exit status and output.
function(expect_run expected_status expected_output)
  execute_process(COMMAND ${TOOL} ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "inmem ${ARGN}: exit ${status}, expected ${expected_status}\n${out}${err}")
  endif()
  if(NOT "${out}${err}" MATCHES "${expected_output}")
    message(FATAL_ERROR "inmem ${ARGN}: output does not match '${expected_output}':\n${out}${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
  set(err "${err}" PARENT_SCOPE)
endfunction()

# Fails unless `doc` is exactly one JSON document.
function(check_json what doc)
  string(JSON length ERROR_VARIABLE bad LENGTH "[${doc}]")
  if(bad OR NOT length EQUAL 1)
    message(FATAL_ERROR "${what}: not one JSON document ${bad}:\n${doc}")
  endif()
endfunction()

# As expect_run, with --format json: the output is one JSON document, left in `json`.
function(expect_json expected_status)
  expect_run(${expected_status} "" --format json ${ARGN})
  check_json("inmem --format json ${ARGN}" "${out}")
  set(json "${out}" PARENT_SCOPE)
  set(err "${err}" PARENT_SCOPE)
endfunction()

expect_run(0 "Size = 1.5 Kilobytes" -m ${FIXTURE} get "DISK.id=\"sda\"")
expect_run(0 "\\[\"disk.id=\\\\\"sda\\\\\"\"\\]" -m ${FIXTURE} instances Disk --names --format json)
expect_run(1 "no instance Disk.Id=\"nope\"" -m ${FIXTURE} get "Disk.Id=\"nope\"")
expect_run(1 "no class named Nope" -m ${FIXTURE} class Nope)
expect_run(2 "A subcommand is required" -m ${FIXTURE})
expect_run(2 "missing.mof" -m missing.mof classes)
expect_run(0 "1 files, 5 qualifier declarations, 3 classes \\(0 without keys\\), 3 instances, 0 errors" check ${FIXTURE})
expect_run(0 "Uptime = 1 day, 1 hour, 1 minute, 1 second" inventory --root ${ROOT})
# Beside a schema that declares the same qualifiers, those declarations stay.
expect_run(0 "PELXA_Processor" -m ${FIXTURE} inventory --root ${ROOT})

# The inventory needs a folder, and a host name to name the system by; one
# detail the schema cannot hold is noted (with -v), not fatal.
expect_run(2 "^inmem: inventory: --root /no/such/folder: no such folder\n$" inventory --root /no/such/folder)
expect_run(2 "no such folder" inventory --root ${ROOT}/proc/uptime)
expect_run(1 "^inmem: inventory: cannot name the system: no host name in .*/sys/proc/sys/kernel/hostname\n$"
           inventory --root ${ROOT}/sys)
expect_run(0 "note: PELXA_Processor CPU0: L5CacheSize left out" -v inventory --root ${HOSTILE})
expect_run(0 "" inventory --root ${HOSTILE})
if(err MATCHES "note")
  message(FATAL_ERROR "notes without -v:\n${err}")
endif()

# An instance the repository refuses is one error of the loader, with the
# repository's own line inside it; no raw log line besides.
file(READ ${FIXTURE} fixture_mof)
file(WRITE ${WORK}/null_key.mof "${fixture_mof}" [[instance of Sys { Name = NULL; };]] "\n")
file(WRITE ${WORK}/dangling.mof "${fixture_mof}"
     [[instance of SysDisk { Group = "Sys.Name=\"host1\""; Part = "Disk.Id=\"nope\""; };]] "\n")
foreach(case "null_key:key property Name is NULL" "dangling:disk.id=\"nope\" doesn't point to anything")
  string(REPLACE ":" ";" case "${case}")
  list(GET case 0 name)
  list(GET case 1 logged)
  expect_run(2 "${logged}" check ${WORK}/${name}.mof)
  string(REGEX MATCHALL "error:" errors "${out}${err}")
  list(LENGTH errors count)
  if(NOT count EQUAL 1 OR "${out}${err}" MATCHES "tyl\\[")
    message(FATAL_ERROR "${name}.mof: not exactly the loader's one error:\n${out}${err}")
  endif()
endforeach()

# --format json: stdout is one JSON document for every command, failures
# included; the human text stays on stderr.
foreach(command "classes" "class;Disk" "qualifiers" "instances;Disk" "get;Disk.Id=\"sda\""
                "associators;Sys.Name=\"host1\"" "references;Disk.Id=\"sda\"" "export")
  expect_json(0 -m ${FIXTURE} ${command})
endforeach()
expect_json(0 inventory --root ${ROOT})
expect_json(0 inventory --root ${HOSTILE})
expect_json(1 -m ${FIXTURE} get "Disk.Id=\"nope\"")
string(JSON status GET "${json}" status)
if(NOT status EQUAL 1 OR NOT err MATCHES "^inmem: no instance")
  message(FATAL_ERROR "a failure in JSON: ${json}${err}")
endif()
expect_json(2 check ${WORK}/null_key.mof)
string(JSON severity GET "${json}" diagnostics 0 severity)
string(JSON line GET "${json}" diagnostics 0 line)
string(JSON instances GET "${json}" instances)
string(REGEX MATCHALL "\n" fixture_lines "${fixture_mof}")
list(LENGTH fixture_lines bad_line)
math(EXPR bad_line "${bad_line} + 1")  # the refused instance follows the fixture
if(NOT severity STREQUAL "error" OR NOT line EQUAL bad_line OR NOT instances EQUAL 3)
  message(FATAL_ERROR "check in JSON: ${json}")
endif()
expect_json(2 -m ${WORK}/null_key.mof classes)
expect_json(2 inventory --root /no/such/folder)
expect_json(2 get)  # a usage error, once --format json was read

# The shell reads one command per line from its input.
execute_process(COMMAND ${TOOL} -m ${FIXTURE} shell INPUT_FILE ${SHELL_INPUT}
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
foreach(expected "Sys\nDisk\nSysDisk\n" "unknown command 'bogus'" "Size = 1.5 Kilobytes" "disk.id=\"sda\"\n")
  string(FIND "${out}${err}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "shell output lacks '${expected}':\n${out}${err}")
  endif()
endforeach()
# In JSON each command line gives one document, on a line of its own.
execute_process(COMMAND ${TOOL} -m ${FIXTURE} --format json shell INPUT_FILE ${SHELL_INPUT}
                RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REGEX REPLACE "\n$" "" out "${out}")
string(REPLACE ";" "\\;" out "${out}")
string(REPLACE "\n" ";" documents "${out}")
list(LENGTH documents count)
if(NOT count EQUAL 5)
  message(FATAL_ERROR "shell in JSON: ${count} lines for 5 commands:\n${out}")
endif()
foreach(document IN LISTS documents)
  check_json("shell in JSON" "${document}")
endforeach()

# `class` and `export` write a method's parameters in the order the MOF
# declared them, each reference with its class; the export loads back to
# the same.
file(WRITE ${WORK}/methods.mof [[
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
class Z_Job { [Key] string Id; };
class A_Element { [Key] string Name;
   uint32 RequestStateChange([In] uint16 RequestedState, [In(false)] Z_Job REF Job, [In] datetime Timeout); };
class A_Device : A_Element { };
]])
set(declared "uint16 RequestedState,\n        \\[In\\(FALSE\\)\\] Z_Job REF Job,\n        \\[In\\(TRUE\\)\\] datetime Timeout\\)")
expect_run(0 "${declared}" -m ${WORK}/methods.mof class A_Device)
expect_run(0 "${declared}" -m ${WORK}/methods.mof export)
file(WRITE ${WORK}/methods-export.mof "${out}")
expect_run(0 "${declared}" -m ${WORK}/methods-export.mof class A_Element)
