#include "platform/RKKeyCodeTable.h"

#include <array>
#include <cstddef>

namespace {

// Stored virtual key code → X key code. Keys of the same place on a PC
// keyboard stand in for the Apple-only ones (Clear is Num Lock, Help is
// Insert); fn has no X key code because the keyboard never reports it.
constexpr std::array<unsigned char, 128> makeKeyTable()
{
    std::array<unsigned char, 128> table{};
    struct Pair {
        int virtualKeyCode;
        unsigned char x11KeyCode;
    };
    constexpr Pair pairs[] = {
        // letters
        {0, 38},   {1, 39},   {2, 40},   {3, 41},   {4, 43},   {5, 42},   {6, 52},   {7, 53},
        {8, 54},   {9, 55},   {11, 56},  {12, 24},  {13, 25},  {14, 26},  {15, 27},  {16, 29},
        {17, 28},  {31, 32},  {32, 30},  {34, 31},  {35, 33},  {37, 46},  {38, 44},  {40, 45},
        {45, 57},  {46, 58},
        // digits and punctuation
        {18, 10},  {19, 11},  {20, 12},  {21, 13},  {22, 15},  {23, 14},  {24, 21},  {25, 18},
        {26, 16},  {27, 20},  {28, 17},  {29, 19},  {30, 35},  {33, 34},  {39, 48},  {41, 47},
        {42, 51},  {43, 59},  {44, 61},  {47, 60},  {50, 49},  {10, 94},
        // editing and control keys
        {36, 36},  {48, 23},  {49, 65},  {51, 22},  {53, 9},   {114, 118}, {115, 110}, {116, 112},
        {117, 119}, {119, 115}, {121, 117}, {123, 113}, {124, 114}, {125, 116}, {126, 111},
        // modifiers, left then right
        {56, 50},  {59, 37},  {58, 64},  {55, 133}, {60, 62},  {62, 105}, {61, 108}, {54, 134},
        {57, 66},
        // function keys
        {122, 67}, {120, 68}, {99, 69},  {118, 70}, {96, 71},  {97, 72},  {98, 73},  {100, 74},
        {101, 75}, {109, 76}, {103, 95}, {111, 96}, {105, 191}, {107, 192}, {113, 193}, {106, 194},
        {64, 195}, {79, 196}, {80, 197}, {90, 198},
        // keypad
        {82, 90},  {83, 87},  {84, 88},  {85, 89},  {86, 83},  {87, 84},  {88, 85},  {89, 79},
        {91, 80},  {92, 81},  {65, 91},  {67, 63},  {69, 86},  {75, 106}, {76, 104}, {78, 82},
        {81, 125}, {71, 77},
        // media
        {72, 123}, {73, 122}, {74, 121},
        // Japanese keyboards: yen, ro, keypad comma, eisu, kana
        {93, 132}, {94, 97},  {95, 103}, {102, 131}, {104, 130},
    };
    for (const Pair& pair : pairs) {
        table[static_cast<std::size_t>(pair.virtualKeyCode)] = pair.x11KeyCode;
    }
    return table;
}

constexpr std::array<unsigned char, 128> kKeyTable = makeKeyTable();

// X key code → stored key code: the same pairs read the other way.
constexpr std::array<signed char, 256> makeReverseTable()
{
    std::array<signed char, 256> reverse{};
    for (signed char& entry : reverse) {
        entry = -1;
    }
    for (std::size_t code = 0; code < kKeyTable.size(); ++code) {
        if (kKeyTable[code] != 0) {
            reverse[kKeyTable[code]] = static_cast<signed char>(code);
        }
    }
    return reverse;
}

constexpr std::array<signed char, 256> kReverseTable = makeReverseTable();

} // namespace

namespace RKKeyCodeTable {

int x11KeyCode(int virtualKeyCode)
{
    if (virtualKeyCode < 0 || virtualKeyCode >= static_cast<int>(kKeyTable.size())) {
        return 0;
    }
    return kKeyTable[static_cast<std::size_t>(virtualKeyCode)];
}

int virtualKeyCode(int x11KeyCode)
{
    if (x11KeyCode <= 0 || x11KeyCode >= static_cast<int>(kReverseTable.size())) {
        return -1;
    }
    return kReverseTable[static_cast<std::size_t>(x11KeyCode)];
}

bool isFunctionKey(int virtualKeyCode)
{
    switch (virtualKeyCode) {
    case 122: case 120: case 99: case 118: case 96: case 97: case 98: case 100: case 101: case 109:
    case 103: case 111: case 105: case 107: case 113: case 106: case 64: case 79: case 80: case 90:
    case 123: case 124: case 125: case 126: case 115: case 119: case 116: case 121: case 117:
    case 114: case 71:
        return true;
    default:
        return false;
    }
}

} // namespace RKKeyCodeTable
