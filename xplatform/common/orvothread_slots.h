// The slot numbers that the base runtime keeps for itself.
#pragma once

namespace orvo {

constexpr unsigned int kThreadNameSlot = 0x80000000u;
constexpr unsigned int kThreadHandleSlot = 0x80000001u;
constexpr unsigned int kThreadTaskSlot = 0x80000002u;
constexpr unsigned int kReservedSlots = 3;

}  // namespace orvo
