# Cross-building on Debian: the compiler of crossbuild-essential-<architecture>, libraries from multiarch packages.
# Included by a toolchain file, which sets CMAKE_SYSTEM_PROCESSOR and the variable triplet.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

# Nothing of the build machine's own architecture.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)
