// SPDX-License-Identifier: MIT
#include "tools/checksum.h"

#include <array>
#include <bit>
#include <cstdio>

#include "engine/data/byte_order.h"

static constexpr size_t kBlockSize = 64; // bytes
static constexpr size_t kRounds = 64;

struct Sha256Tables
{
    std::array<uint32_t, 8> start;    // the first 32 bits of the fractions of square roots
    std::array<uint32_t, kRounds> of; // the same of cubic roots, of the first 64 primes
};

/// The first 32 bits of the fraction of the root-th root of a number, by integers alone.
static uint32_t RootFraction(uint32_t number, uint32_t root)
{
    // The largest r with r^root <= number * 2^(32 * root): its low 32 bits are the fraction.
    __extension__ typedef unsigned __int128 Wide; // three factors of 37 bits
    uint64_t low = 0;
    uint64_t high = uint64_t{1} << 37; // every root of these primes is below 2^5
    while (high - low > 1)
    {
        const uint64_t middle = low + (high - low) / 2;
        const Wide power = root == 2 ? Wide{middle} * middle : Wide{middle} * middle * middle;
        const Wide limit = Wide{number} << 32 * root;
        (power <= limit ? low : high) = middle;
    }
    return static_cast<uint32_t>(low);
}

static Sha256Tables MakeTables()
{
    Sha256Tables tables = {};
    size_t count = 0;
    for (uint32_t number = 2; count < kRounds; ++number)
    {
        bool isPrime = true;
        for (uint32_t divisor = 2; divisor * divisor <= number; ++divisor)
        {
            isPrime = isPrime && number % divisor != 0;
        }
        if (!isPrime)
        {
            continue;
        }
        if (count < tables.start.size())
        {
            tables.start[count] = RootFraction(number, 2);
        }
        tables.of[count] = RootFraction(number, 3);
        count += 1;
    }
    return tables;
}

static void AddBlock(const Sha256Tables& tables, const unsigned char* block,
                     std::array<uint32_t, 8>* hash)
{
    std::array<uint32_t, kRounds> words;
    for (size_t i = 0; i < 16; ++i)
    {
        words[i] = LoadBigEndian32(block + 4 * i);
    }
    for (size_t i = 16; i < kRounds; ++i)
    {
        const uint32_t a = words[i - 15];
        const uint32_t b = words[i - 2];
        words[i] = words[i - 16] + words[i - 7] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) +
                   (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    std::array<uint32_t, 8> s = *hash;
    for (size_t i = 0; i < kRounds; ++i)
    {
        const uint32_t choice = (s[4] & s[5]) ^ (~s[4] & s[6]);
        const uint32_t one = s[7] +
                             (std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25)) +
                             choice + tables.of[i] + words[i];
        const uint32_t most = (s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]);
        const uint32_t two =
            (std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22)) + most;
        s = {one + two, s[0], s[1], s[2], s[3] + one, s[4], s[5], s[6]};
    }
    for (size_t i = 0; i < s.size(); ++i)
    {
        (*hash)[i] += s[i];
    }
}

std::string Sha256(const Bytes& bytes)
{
    const Sha256Tables tables = MakeTables();
    std::array<uint32_t, 8> hash = tables.start;
    const size_t whole = bytes.size() / kBlockSize * kBlockSize;
    for (size_t at = 0; at < whole; at += kBlockSize)
    {
        AddBlock(tables, bytes.data() + at, &hash);
    }
    // A bit of 1, zeros, and the number of bits at the end of a block.
    Bytes tail(bytes.begin() + static_cast<ptrdiff_t>(whole), bytes.end());
    tail.push_back(0x80);
    tail.resize((tail.size() + 8 + kBlockSize - 1) / kBlockSize * kBlockSize, 0);
    const uint64_t bits = uint64_t{bytes.size()} * 8;
    StoreBigEndian32(static_cast<uint32_t>(bits >> 32), tail.data() + tail.size() - 8);
    StoreBigEndian32(static_cast<uint32_t>(bits), tail.data() + tail.size() - 4);
    for (size_t at = 0; at < tail.size(); at += kBlockSize)
    {
        AddBlock(tables, tail.data() + at, &hash);
    }
    std::string text;
    for (const uint32_t word : hash)
    {
        char digits[9];
        snprintf(digits, sizeof(digits), "%08x", word);
        text += digits;
    }
    return text;
}
