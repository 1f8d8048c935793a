# To be filled in at a release: the place, and the sum of the archive.
vcpkg_download_distfile(archive
    URLS "https://qorutil.example/qorutil-${VERSION}.tar.gz"
    FILENAME "qorutil-${VERSION}.tar.gz"
    SHA512 0
)
vcpkg_extract_source_archive(SOURCE_PATH ARCHIVE "${archive}")

vcpkg_check_features(OUT_FEATURE_OPTIONS features
    FEATURES
        tools QORUTIL_BUILD_TOOLS
)

vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${features}
        -DQORUTIL_BUILD_TESTS=OFF
        -DQORUTIL_BUILD_EXAMPLES=OFF
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/qorutil)
vcpkg_fixup_pkgconfig()
if("tools" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES qorhex AUTO_CLEAN)
endif()

file(REMOVE_RECURSE
    "${CURRENT_PACKAGES_DIR}/debug/include"
    "${CURRENT_PACKAGES_DIR}/debug/share"
    "${CURRENT_PACKAGES_DIR}/share/bash-completion"
    "${CURRENT_PACKAGES_DIR}/share/doc"
    "${CURRENT_PACKAGES_DIR}/share/fish"
    "${CURRENT_PACKAGES_DIR}/share/man"
    "${CURRENT_PACKAGES_DIR}/share/zsh"
)
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
