# Installs the build tree into a fresh prefix, builds the outside project against it and checks
# the program's output. Run with -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=...
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "cmake --install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/consumer
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_VARIABLE log ERROR_VARIABLE log)
if(status)
  message(FATAL_ERROR "configuring the outside project failed:\n${log}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer
                RESULT_VARIABLE status OUTPUT_VARIABLE log ERROR_VARIABLE log)
if(status)
  message(FATAL_ERROR "building the outside project failed:\n${log}")
endif()
execute_process(COMMAND ${WORK_DIR}/consumer/scm_install_check
                RESULT_VARIABLE status OUTPUT_VARIABLE output)
string(STRIP "${output}" output)
if(status OR NOT output STREQUAL "U4NdP7g6UUORzSSeCh2CSC")
  message(FATAL_ERROR "unexpected output '${output}' (status ${status})")
endif()
message(STATUS "installed library works: ${output}")

# The installed scm tool finds its libraries and the metamodel under the prefix.
set(registry ${WORK_DIR}/installed_tool.scm)
execute_process(COMMAND ${WORK_DIR}/prefix/bin/scm register ${registry}
                        ${SOURCE_DIR}/../../examples/model_a.jsonl
                RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(status OR NOT output MATCHES "registered 8, merged 0, unchanged 0, clashes 0, errors 0")
  message(FATAL_ERROR "the installed scm tool failed (status ${status}):\n${output}${errors}")
endif()
message(STATUS "installed scm tool works")
