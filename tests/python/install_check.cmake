# Installs the build tree into a fresh prefix and imports the installed package with the
# interpreter it was built for, from outside the build tree: the package must be where the
# interpreter looks under the prefix, and the extension must find the installed library.
# Run with -DBUILD_DIR=... -DWORK_DIR=... -DPYTHON=... -DPACKAGE_DIR=<relative to the prefix>
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "cmake --install failed")
endif()
set(check [=[
import sys, SharedCodeManager as scm
assert scm.__file__.startswith(sys.argv[1]), scm.__file__
with scm.SharedFunctionInterface("registry.sldd") as registry:
    key = scm.SharedFunctionIdentity(1, 2, 3, 4)
    print(registry.registerData(key, scm.SharedFunctionData("f", "f.c")), key.Checksum)
]=])
execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${WORK_DIR}/prefix/${PACKAGE_DIR}
                        ${PYTHON} -c "${check}" ${WORK_DIR}/prefix
                WORKING_DIRECTORY ${WORK_DIR}
                RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
string(STRIP "${output}" output)
if(status OR NOT output STREQUAL "IS_REGISTERED U4NdP7g6UUORzSSeCh2CSC")
  message(FATAL_ERROR "unexpected output '${output}' (status ${status}):\n${errors}")
endif()
message(STATUS "installed Python package works: ${output}")
