# SPDX-License-Identifier: MIT
#
# Shows what the recipe of Buildroot sets: make -f buildroot.mk RECIPE=qorutil.mk
cmake-package :=
include $(RECIPE)

.PHONY: options
options:
	@printf '%s\n' $(QORUTIL_CONF_OPTS)

.PHONY: fields
fields:
	@printf '%s\n' '$(QORUTIL_VERSION)' '$(QORUTIL_LICENSE)' \
	  '$(QORUTIL_LICENSE_FILES)' '$(QORUTIL_INSTALL_STAGING)'
