# CPack runs this on the staged packages: manual pages and changelogs are compressed, without name and time.
file(GLOB_RECURSE documents ${CPACK_TEMPORARY_DIRECTORY}/*/kvmeasure.1 ${CPACK_TEMPORARY_DIRECTORY}/*/changelog
     ${CPACK_TEMPORARY_DIRECTORY}/*/changelog.Debian)
foreach(document IN LISTS documents)
    execute_process(COMMAND gzip -9nf ${document} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
