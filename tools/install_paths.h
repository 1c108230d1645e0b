// Where the inmem tool finds what it uses but does not hold: the plug-in
// and the bundled inventory schema.
//
// An installed tool finds them beside itself, in the layout `cmake
// --install` and the Debian package make (PREFIX/bin/inmem,
// PREFIX/lib/inmem/libinmem.so, PREFIX/share/inmem/inventory_schema.mof);
// a tool in the build tree finds the build tree's. The environment variable
// INMEM_PLUGIN names another plug-in; the --plugin option wins over both.

#ifndef INMEM_TOOLS_INSTALL_PATHS_H_
#define INMEM_TOOLS_INSTALL_PATHS_H_

#include <string>

std::string DefaultPluginPath();
std::string InventorySchemaPath();

#endif  // INMEM_TOOLS_INSTALL_PATHS_H_
