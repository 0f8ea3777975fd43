# Makes the packages of what stands in the build folder, anew. CONFIG: CPack's; FOLDER: theirs.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
execute_process(COMMAND ${CPACK} --config ${CONFIG} -B ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${FOLDER}/_CPack_Packages)
