# What `cmake --install` puts in place, for hosts and for people:
#   lib/libtylcore.so, lib/libmofload.so      the core and the MOF loader
#   lib/inmem/libinmem.so                     the plug-in, in a folder of its own
#   include/inmem/{core,include,mof}/*.h      the public headers, included as
#                                             "core/cim_value.h" and so on
#   lib/cmake/inmem/                          find_package(inmem CONFIG)
#   lib/pkgconfig/inmem.pc                    pkg-config --cflags --libs inmem
#   bin/inmem, share/inmem/, the man page, bash completion, and the service
#   (lib/systemd/system/inmem-serve.service; its options in
#   share/inmem/serve.conf, which the Debian package puts in /etc/inmem/)
include(CMakePackageConfigHelpers)

install(TARGETS tylcore mofload inmem_headers EXPORT inmemTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS inmem LIBRARY DESTINATION ${INMEM_PLUGIN_DIR})
foreach(folder core include mof)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/inmem/${folder}
          FILES_MATCHING PATTERN "*.h")
endforeach()

set(INMEM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/inmem)
install(EXPORT inmemTargets NAMESPACE inmem:: DESTINATION ${INMEM_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/inmemConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/inmemConfig.cmake
                              INSTALL_DESTINATION ${INMEM_CMAKE_DIR}
                              PATH_VARS INMEM_PLUGIN_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/inmemConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/inmemConfig.cmake ${PROJECT_BINARY_DIR}/inmemConfigVersion.cmake
        DESTINATION ${INMEM_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/inmem.pc.in ${PROJECT_BINARY_DIR}/inmem.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/inmem.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES ${PROJECT_SOURCE_DIR}/packaging/inmem-serve.service DESTINATION lib/systemd/system)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/serve.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/inmem)
option(INMEM_PACKAGE_DEB "Install as the Debian package does: the service's options in /etc/inmem" OFF)
if(INMEM_PACKAGE_DEB)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/serve.conf DESTINATION /etc/inmem)
endif()
