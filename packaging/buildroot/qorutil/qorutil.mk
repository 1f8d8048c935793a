################################################################################
#
# qorutil
#
################################################################################

QORUTIL_VERSION = 0.2.0
QORUTIL_SITE = https://qorutil.example
QORUTIL_LICENSE = MIT
QORUTIL_LICENSE_FILES = LICENSE
QORUTIL_INSTALL_STAGING = YES
# The programs find the library in the system, without a run path.
QORUTIL_CONF_OPTS = \
	-DQORUTIL_BUILD_TESTS=OFF \
	-DQORUTIL_BUILD_EXAMPLES=OFF \
	-DCMAKE_INSTALL_RPATH=

ifeq ($(BR2_PACKAGE_QORUTIL_TOOLS),y)
QORUTIL_CONF_OPTS += -DQORUTIL_BUILD_TOOLS=ON
else
QORUTIL_CONF_OPTS += -DQORUTIL_BUILD_TOOLS=OFF
endif

$(eval $(cmake-package))
