# SPDX-License-Identifier: MIT
define BuildPackage
.PHONY: $(1)
$(1):
	rm -rf $(DEST)/$(1)
$(call Package/$(1)/install,$(DEST)/$(1))
$$(foreach field,TITLE SECTION CATEGORY,$$(if $$(findstring $$(field):=,$$(value Package/$(1))),,$$(error $(1) has no $$(field))))
endef
