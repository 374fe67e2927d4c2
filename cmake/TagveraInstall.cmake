# Installed later with the package: library, headers, CLI, pkg-config and CMake package files.
