# Toolchain file: builds for the Debian architecture that the environment variable DEB_HOST_ARCH
# names ("arm64"; dpkg-architecture(1)), with Debian's cross compiler and that architecture's
# libraries, which scripts/dependencies installs when the variable is set.
#
#   DEB_HOST_ARCH=arm64 CMAKE_TOOLCHAIN_FILE=$PWD/cmake/debian-cross.cmake scripts/build release

# Reads a value of dpkg-architecture(1). --force: ignores values in the environment, which may be of
# another architecture.
function(read_architecture name)
  execute_process(
    COMMAND dpkg-architecture --force --host-arch $ENV{DEB_HOST_ARCH} --query ${name}
    OUTPUT_VARIABLE value OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${name} ${value} PARENT_SCOPE)
endfunction()
read_architecture(DEB_HOST_GNU_CPU)
read_architecture(DEB_HOST_GNU_TYPE)
read_architecture(DEB_HOST_MULTIARCH)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${DEB_HOST_GNU_CPU})
set(CMAKE_C_COMPILER ${DEB_HOST_GNU_TYPE}-gcc)
set(CMAKE_CXX_COMPILER ${DEB_HOST_GNU_TYPE}-g++)
# Libraries of the architecture are found and installed here. Headers and CMake packages that fit
# all architectures are those of the building system.
set(CMAKE_LIBRARY_ARCHITECTURE ${DEB_HOST_MULTIARCH})
set(CMAKE_INSTALL_LIBDIR lib/${DEB_HOST_MULTIARCH})
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${DEB_HOST_MULTIARCH}/pkgconfig:/usr/share/pkgconfig)
# Without it the package would carry the building system's architecture.
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE $ENV{DEB_HOST_ARCH})
