// SPDX-License-Identifier: MIT
//
// What a sanitizer makes different. The preset m32 defines the macro of g++:
// its tests are compiled without what they are linked with.

#ifndef QORUTIL_TESTS_SUPPORT_SANITIZERS_H
#define QORUTIL_TESTS_SUPPORT_SANITIZERS_H

#if defined(__SANITIZE_ADDRESS__)
#define QORUTIL_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QORUTIL_ADDRESS_SANITIZER 1
#endif
#endif

#endif  // QORUTIL_TESTS_SUPPORT_SANITIZERS_H
