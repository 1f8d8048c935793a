# SPDX-License-Identifier: MIT
#
# What the recipe of OpenWrt uses of rules.mk, package.mk and cmake.mk, which are
# not here. PKG_INSTALL_DIR is what was installed; `make PACKAGES` puts each
# package below the folder DEST.
INCLUDE_DIR := $(TOPDIR)
INSTALL_DIR := install -d -m0755
INSTALL_BIN := install -m0755
CP := cp -fpR
CMAKE_OPTIONS :=
