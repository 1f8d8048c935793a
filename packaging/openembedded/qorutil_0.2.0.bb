# SPDX-License-Identifier: MIT
SUMMARY = "Utility library for command-line tools and daemons on embedded Linux"
DESCRIPTION = "A C++17 library: images in Intel HEX, options with a help screen, \
periodic jobs, exceptions that collect system errors, and text, time and system \
functions. The package qorutil-tools brings qorhex, which lists, checks and \
converts Intel HEX files."
HOMEPAGE = "https://qorutil.example/"
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=f20e5e523a08584f5b7d49c1ccd5e57c"

# To be filled in at a release: the place, and the sum of the archive.
SRC_URI = "https://qorutil.example/${BP}.tar.gz"
SRC_URI[sha256sum] = "0000000000000000000000000000000000000000000000000000000000000000"

inherit cmake pkgconfig

# The programs find the library in the system, without a run path.
EXTRA_OECMAKE = " \
    -DBUILD_SHARED_LIBS=ON \
    -DQORUTIL_BUILD_TESTS=OFF \
    -DQORUTIL_BUILD_EXAMPLES=OFF \
    -DCMAKE_INSTALL_RPATH= \
"

PACKAGES =+ "${PN}-tools"
SUMMARY:${PN}-tools = "Lists, checks and converts Intel HEX files"
FILES:${PN}-tools = " \
    ${bindir}/qorhex \
    ${datadir}/qorutil \
    ${datadir}/bash-completion \
    ${datadir}/zsh \
    ${datadir}/fish \
"

BBCLASSEXTEND = "native nativesdk"
