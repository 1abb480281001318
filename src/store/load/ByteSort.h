// ByteSort: puts the list of a table's bucket into its order.
#pragma once

#include <array>

namespace STREAMENGINE_SPACE {

/// Sorts a list, linked by next, ascending by a byte of each node; those with equal bytes keep
/// their order.
///
/// A distribution sort: each node goes to the end of the chain of its byte, and the 256 chains are
/// linked one after the other. Example, by first letter: b1 a1 b2 a2 gives the chains a1 a2 and
/// b1 b2. The time is linear, and no memory is needed: the chains use the nodes' own links. That
/// matters as a file may put all its lines into one list.
/// @param byteOf  gives the byte, a uint8_t, of a node
template <class Node, class ByteOf>
void sortByByte(Node*& head, ByteOf byteOf) {
    if (head == nullptr || head->next == nullptr) return;
    struct Chain {
        Node* first = nullptr;
        Node* last = nullptr;
    };
    std::array<Chain, 256> chains{};
    for (Node* node = head; node != nullptr; node = node->next) {
        Chain& chain = chains[byteOf(*node)];
        (chain.last == nullptr ? chain.first : chain.last->next) = node;
        chain.last = node;
    }
    Node** end = &head;
    for (const Chain& chain : chains) {
        if (chain.first == nullptr) continue;
        *end = chain.first;
        end = &chain.last->next;
    }
    *end = nullptr;
}

}  // namespace STREAMENGINE_SPACE
