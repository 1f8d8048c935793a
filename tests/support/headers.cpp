// SPDX-License-Identifier: MIT
//
// Nothing: the headers of this unit are compiled for all tests.
