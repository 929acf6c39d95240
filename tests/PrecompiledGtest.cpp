// Only its precompiled headers are of use: see CMakeLists.txt.
