#pragma once

/**
 * The texts that several sources share: how a component is found in an inventory document (the component id
 * stands between the first two), and how the controller's record and its place in the repository are named.
 */
inline constexpr const char* QUERYCOMPID = "/SVMInventory/Device[@componentID = \"";
inline constexpr const char* XPATH_SUFFIX = "\"]";
inline constexpr const char* strFileSeparator = "/";
inline constexpr const char* KStrDeviceName = "QRX";
inline constexpr const char* KStrComponentType = "FRMW";
inline constexpr const char* KStrDestination = "Chassis";
