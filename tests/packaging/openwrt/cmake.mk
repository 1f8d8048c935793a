# SPDX-License-Identifier: MIT
.PHONY: options
options:
	@printf '%s\n' $(CMAKE_OPTIONS)
