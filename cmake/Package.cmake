# make deb: a Debian package of the installed tree (CPack). Its library
# dependencies come from dpkg-shlibdeps; what the tool runs (dot) and what
# the maintainer scripts use (adduser) are named here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME inmem)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "inmem maintainers <maintainers@users.noreply.c-seed-db66d268.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "in-memory CIM repository, with a WBEM server and a browser")
set(CPACK_PACKAGE_DESCRIPTION
    "inmem holds CIM classes, qualifier declarations and instances in memory. It\n"
    "collects this machine's inventory, serves it to CIM clients over HTTP and\n"
    "HTTPS (CIM-XML) and to people as web pages, and ships its core library,\n"
    "MOF loader and plug-in for hosts.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "adduser")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "graphviz")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "sblim-wbemcli")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/conffiles ${PROJECT_SOURCE_DIR}/packaging/postinst
    ${PROJECT_SOURCE_DIR}/packaging/prerm ${PROJECT_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
