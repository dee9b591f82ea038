/// @file
/// The version of these headers.
#ifndef VELACREATION_VELACREATIONVERSION_H
#define VELACREATION_VELACREATIONVERSION_H

/// @name The three numbers of the version
/// @{
#define VELACREATION_VERSION_MAJOR 1 ///< rises when programs for the version before no longer work
#define VELACREATION_VERSION_MINOR 1 ///< rises with new features
#define VELACREATION_VERSION_PATCH 0 ///< rises with corrections
/// @}

/// A version as one number, to compare with `#if`.
#define VELACREATION_VERSION_NUMBER(major, minor, patch) ((major)*1000000 + (minor)*1000 + (patch))

/// The version of these headers as one number: 1002003 for 1.2.3.
#define VELACREATION_VERSION                                                                                 \
    VELACREATION_VERSION_NUMBER(VELACREATION_VERSION_MAJOR, VELACREATION_VERSION_MINOR,                      \
                                VELACREATION_VERSION_PATCH)

#endif
