# Tests of the house itself: what the compiler does not see, and what only the built libraries
# show. `scripts/check` runs them; CTest knows them by the label `house`.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

function(cul_house_test name script)
  add_test(NAME house.${name}
    COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/checks/${script} ${ARGN}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(house.${name} PROPERTIES LABELS house)
endfunction()

cul_house_test(includes includes.py ${PROJECT_BINARY_DIR}/layout.txt)
cul_house_test(headers headers.py ${PROJECT_BINARY_DIR}/layout.txt)
cul_house_test(functions functions.py cul quonutil tests bench fuzz examples tools scripts .ci)
foreach(library IN ITEMS cul quonutil)
  cul_house_test(exports.${library} exports.py $<TARGET_FILE:${library}> abi/lib${library}.exports)
endforeach()
cul_house_test(loading.cul loading.py $<TARGET_FILE:cul> $<TARGET_SONAME_FILE_NAME:quonutil>)
cul_house_test(loading.quonutil loading.py $<TARGET_FILE:quonutil>)
