#pragma once

/** How the controller's record, and its place in the repository, are named in reports and repository paths.
 */
inline constexpr const char* KStrDeviceName = "QRX";
inline constexpr const char* KStrComponentType = "FRMW";
/** The folder of the repository that takes the payload. */
inline constexpr const char* KStrDestination = "Chassis";
inline constexpr const char* strFileSeparator = "/";
