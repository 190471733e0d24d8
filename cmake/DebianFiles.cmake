# SPDX-License-Identifier: Apache-2.0
# CPack runs this on the installed files: a Debian package has compressed manual pages and a changelog.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${share}/doc/${CPACK_PACKAGE_NAME}/changelog
    "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) stable; urgency=medium\n\n  * Version ${CPACK_PACKAGE_VERSION}.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")
file(GLOB files ${share}/man/man*/* ${share}/doc/${CPACK_PACKAGE_NAME}/changelog)
execute_process(COMMAND gzip -9n ${files} COMMAND_ERROR_IS_FATAL ANY)
