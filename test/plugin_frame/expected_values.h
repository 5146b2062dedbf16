#pragma once

#include "plugin_frame/orvex_interfaces.h"

// The values the host sees, spelled out as literals so that tests check the plug-in's constants
// rather than repeat them.
namespace expected {

inline constexpr HRESULT kOk = 0;
inline constexpr auto kNotImplemented = static_cast<HRESULT>(0xA0800000u);
inline constexpr auto kBufferTooSmall = static_cast<HRESULT>(0xA0800001u);
inline constexpr auto kUnsupported = static_cast<HRESULT>(0xA0800005u);
inline constexpr auto kNotInitialized = static_cast<HRESULT>(0xA0800009u);
inline constexpr auto kBadCommand = static_cast<HRESULT>(0xA0800010u);
inline constexpr auto kPrivacyPolicyNotRead = static_cast<HRESULT>(0xA0802001u);
inline constexpr auto kNoInterface = static_cast<HRESULT>(0x80004002u);
inline constexpr auto kFail = static_cast<HRESULT>(0x80004005u);
inline constexpr auto kOutOfMemory = static_cast<HRESULT>(0x8007000Eu);
inline constexpr auto kInvalidArgument = static_cast<HRESULT>(0x80070057u);

// {D22B890B-E516-4151-9943-ABF087C47073} and {EA96AA9C-93AD-4BB9-A539-41D62F18EDB7}.
inline constexpr GUID kMonitorId = {
    0xD22B890B, 0xE516, 0x4151, {0x99, 0x43, 0xAB, 0xF0, 0x87, 0xC4, 0x70, 0x73}};
inline constexpr GUID kMonitorTypeId = {
    0xEA96AA9C, 0x93AD, 0x4BB9, {0xA5, 0x39, 0x41, 0xD6, 0x2F, 0x18, 0xED, 0xB7}};

} // namespace expected
