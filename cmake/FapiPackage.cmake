# SPDX-License-Identifier: Apache-2.0
# The Debian package that `cpack --preset package` makes of the installed files.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_CONTACT "Factory API maintainers <factory-api@lumora.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "factory API of a television set, with a virtual set and a bench tool")
set(CPACK_PACKAGE_DESCRIPTION
    "The library that a television's factory-test service loads, a virtual set
that stands in for the chip on a PC, and fapi, which calls every operation,
watches events and runs factory-line plans on it.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The store of results is loaded when it is used.
set(CPACK_DEBIAN_PACKAGE_DEPENDS libsoci-sqlite3-4.0)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake)
include(CPack)
