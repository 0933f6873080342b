# Toolchain file: builds for the Debian architecture that the environment variable DEB_HOST_ARCH
# names ("arm64"; dpkg-architecture(1)). If it is set, scripts/dependencies installs the cross
# compiler and the libraries. For the libraries, apt must know the architecture
# (`dpkg --add-architecture arm64`).
#
#   DEB_HOST_ARCH=arm64 CMAKE_TOOLCHAIN_FILE=$PWD/cmake/debian-cross.cmake scripts/build release

# read_architecture(NAME): sets the variable NAME to what dpkg-architecture(1) prints for it.
# --force ignores values from the environment, which may be those of another architecture.
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
# Where CMake and pkg-config look for the architecture's libraries, and where ours are installed.
# Architecture-independent headers and CMake packages are those of the system that builds.
set(CMAKE_LIBRARY_ARCHITECTURE ${DEB_HOST_MULTIARCH})
set(CMAKE_INSTALL_LIBDIR lib/${DEB_HOST_MULTIARCH})
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${DEB_HOST_MULTIARCH}/pkgconfig:/usr/share/pkgconfig)
# Without this variable, CPack would give the packages the architecture of the system that builds.
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE $ENV{DEB_HOST_ARCH})
