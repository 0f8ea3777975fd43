#pragma once

// The record by which the log service tells every program of the machine where it listens:
// 24 bytes, little-endian, in a named shared-memory object.
//
//   offset  0  u32  magic 0xABABBABA
//   offset  4  u32  version, not 0
//   offset  8  u32  size of the record in bytes, at least 24
//   offset 12  u32  IPv4 address of the service's socket, host order
//   offset 16  u64  UDP port of the service's socket in the low 16 bits, host order

#include "logging/SocketAddressText.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zuLogging {

inline constexpr std::uint32_t connectionInfoMagic = 0xABABBABAU;
inline constexpr std::uint32_t connectionInfoVersion = 1;
inline constexpr std::size_t connectionInfoSize = 24;

/// "zuLogSvcConnectionInfo", or what the environment variable ZULOG_CONNECTION_INFO names, so that
/// a private service can run beside the machine's one.
std::string connectionInfoName();

/// The record's bytes for a service that listens at `address`.
std::vector<std::uint8_t> encodeConnectionInfo(const SocketAddress& address);

/// Reads the record afresh: a service that came back on another port is found. Throws LogSvcError
/// "Failed to connect to the shared memory with connection info: " + cause ("Shared memory error"
/// when there is no such object), or "Failed to retrieve valid connection info".
SocketAddress readConnectionInfo(const std::string& name = connectionInfoName());

} // namespace zuLogging
