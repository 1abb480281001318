// The order of the lists that a table's buckets hold.
#pragma once

#include <array>

namespace STREAMENGINE_SPACE {

/// Sorts a list, linked by next, ascending by a byte of each node; those with equal bytes keep
/// their order. Linear, and without memory of its own: a file may put all its lines into one
/// bucket.
/// @param byteOf  gives the byte, a uint8_t, of a node
template <class Node, class ByteOf>
void sortByByte(Node*& head, ByteOf byteOf) {
    if (head == nullptr || head->next == nullptr) return;
    struct Run {
        Node* first = nullptr;
        Node* last = nullptr;
    };
    std::array<Run, 256> runs{};
    for (Node* node = head; node != nullptr; node = node->next) {
        Run& run = runs[byteOf(*node)];
        (run.last == nullptr ? run.first : run.last->next) = node;
        run.last = node;
    }
    Node** end = &head;
    for (const Run& run : runs) {
        if (run.first == nullptr) continue;
        *end = run.first;
        end = &run.last->next;
    }
    *end = nullptr;
}

}  // namespace STREAMENGINE_SPACE
