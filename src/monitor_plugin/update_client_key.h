#pragma once

#include "ports/registry_keys.h"

#include <cstdint>
#include <string>

// The plug-in's registration with the maker's update client, a key of HKEY_LOCAL_MACHINE in the
// 64-bit view named after the client identifier {C0F80620-669B-4A40-95E1-01A0F601C2AC}.
std::u16string UpdateClientKeyPath();

// Removes the registration with every key below it: 1 when it is gone (also when it never
// existed), 0 when some of it stays.
int32_t RemoveUpdateClientRegistration(ports::RegistryKeys& keys) noexcept;
