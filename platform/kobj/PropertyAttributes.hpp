#pragma once

#include <cstdint>

// The attribute word of a published property: 32 flag bits that a publishing routine hands to the
// class system with each property. This is the one place that defines what the bits mean; the
// catalogue reports the word unchanged, and front ends and the whole-object encoding act on it.
//
//   0x00000000  an ordinary property: shown, read and written like any other.
//
//   0x00000800  Hidden: a property that tunes how other values are used (a flag that decides
//               whether a field counts, the category of a key) rather than being content of its
//               own. It is read, written and encoded like any other property, but front ends
//               leave it out of an object's default display (repr, `scm show`) and list it
//               only in full listings and help.
//
//   0x00800000  Dependent: the value follows from other state of the object (a checksum
//               computed from the key fields, a category fixed by the constructor). Writing it
//               overrides what the object would derive. When an object is rebuilt from its
//               properties (the whole-object encoding), dependent properties are written after
//               all the others, so the stored value is the one that stays.
//
//   0x00800800  Hidden and Dependent.
//
// Every other bit is reserved and must be 0. Read-only-ness is not an attribute bit: a property
// without a setter is read-only.
namespace kobj::attributes {

inline constexpr std::uint32_t kNone = 0x00000000u;
inline constexpr std::uint32_t kHidden = 0x00000800u;
inline constexpr std::uint32_t kDependent = 0x00800000u;

inline constexpr bool isHidden(std::uint32_t word) { return (word & kHidden) != 0; }
inline constexpr bool isDependent(std::uint32_t word) { return (word & kDependent) != 0; }

}  // namespace kobj::attributes
