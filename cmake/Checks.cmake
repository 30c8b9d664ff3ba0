# Tests of the house itself: what the compiler does not see, and what only the built libraries
# show. `scripts/check` runs them; CTest knows them by the label `house`.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

function(cul_house_test name script)
  set(command ${PROJECT_SOURCE_DIR}/scripts/${script} ${ARGN})
  if(script MATCHES "[.]py$")
    list(PREPEND command $<TARGET_FILE:Python3::Interpreter>)
  endif()
  add_test(NAME house.${name} COMMAND ${command} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(house.${name} PROPERTIES LABELS house)
endfunction()

cul_house_test(includes checks/includes.py ${PROJECT_BINARY_DIR}/layout.txt)
cul_house_test(headers checks/headers.py ${PROJECT_BINARY_DIR}/layout.txt)
cul_house_test(functions checks/functions.py cul quonutil tests bench fuzz examples tools scripts .ci)
cul_house_test(format format --check)
cul_house_test(shell checks/shell)
cul_house_test(manual checks/manual)
foreach(library IN ITEMS cul quonutil)
  cul_house_test(exports.${library} checks/exports.py $<TARGET_FILE:${library}> abi/lib${library}.exports)
endforeach()
cul_house_test(loading.cul checks/loading.py $<TARGET_FILE:cul> $<TARGET_SONAME_FILE_NAME:quonutil>)
cul_house_test(loading.quonutil checks/loading.py $<TARGET_FILE:quonutil>)
