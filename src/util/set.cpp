// set.cpp - a small ordered collection of words: a circular list that is closed by its header.
//
//     header <-> first <-> ... <-> last <-> header
//
// The header is a node like the others, so that no link is ever null: linking and unlinking have
// no special cases, and a search that finds nothing ends on the header, which then stands for "in
// front of the first" or "behind the last". The cursor's node is a node of the list or the header
// as long as cursor_value is not 0. Forward and backward forms are one template each.
// Tested by tests/util/set_test.cpp.
#include <qxut/util/set.h>

#include <cstddef>

#include <qxut/util/heap.h>

namespace {

using Node = utSetElement;
using Direction = Node* Node::*;
constexpr Direction kForward = &Node::next;
constexpr Direction kBackward = &Node::prev;

static_assert(sizeof(Node) == 3 * sizeof(void*));
static_assert(sizeof(utSet) == 5 * sizeof(void*));
static_assert(offsetof(utSet, header) == 0);

// The first node in this direction that holds the value; the header if there is none.
template <Direction step>
const Node* find(const utSet& set, uintptr_t value) {
    const Node* node = set.header.*step;
    while (node != &set.header && node->value != value) node = node->*step;
    return node;
}

template <Direction step>
Node* find(utSet& set, uintptr_t value) {
    return const_cast<Node*>(find<step>(static_cast<const utSet&>(set), value));
}

// Where a step from the value starts, or what an insertion beside it goes by.
template <Direction step>
Node* place_of(utSet& set, uintptr_t value) {
    if (value == 0) return &set.header;
    return value == set.cursor_value ? set.cursor : find<step>(set, value);
}

void link_after(Node* place, Node* node) {
    node->prev = place;
    node->next = place->next;
    place->next->prev = node;
    place->next = node;
}

void unlink(utSet& set, Node* node) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
    if (set.cursor == node) set.cursor_value = 0;
}

Node* new_node(uintptr_t value) {
    auto* const node = static_cast<Node*>(utMalloc(sizeof(Node)));
    if (node != nullptr) node->value = value;
    return node;
}

bool add_after(Node* place, uintptr_t value) {
    Node* const node = new_node(value);
    if (node == nullptr) return false;
    link_after(place, node);
    return true;
}

template <Direction step>
uintptr_t next_value(utSet& set, uintptr_t value) {
    set.cursor = place_of<step>(set, value)->*step;
    set.cursor_value = set.cursor->value;
    return set.cursor_value;
}

template <Direction step>
void to_each(utSet& set, utSetElementFcn fn, uintptr_t argument_1, uintptr_t argument_2) {
    for (Node* node = set.header.*step; node != &set.header;) {
        Node* const following = node->*step;
        fn(node->value, argument_1, argument_2);
        node = following;
    }
}

}  // namespace

utSet* utCreateSet() {
    auto* const set = static_cast<utSet*>(utMalloc(sizeof(utSet)));
    if (set != nullptr) *set = {{&set->header, &set->header, 0}, 0, nullptr};
    return set;
}

void utDestroySet(utSet* set) { utFree(set); }

void utDestroyNonEmptySet(utSet* set) {
    if (set == nullptr) return;
    for (Node* node = set->header.next; node != &set->header;) {
        Node* const following = node->next;
        utFree(node);
        node = following;
    }
    utDestroySet(set);
}

bool utAddElementToSet(uintptr_t value, utSet* set) { return add_after(&set->header, value); }

bool utAddElementToEndOfSet(uintptr_t value, utSet* set) {
    return add_after(set->header.prev, value);
}

bool utPutElementAtFrontOfSet(uintptr_t value, utSet* set) {
    Node* const node = find<kForward>(*set, value);
    if (node == &set->header) return utAddElementToSet(value, set);
    // The node itself is moved: a value that is there can always be put in front.
    unlink(*set, node);
    link_after(&set->header, node);
    return true;
}

bool utInsertSetElementAfter(utSet* set, uintptr_t existing, uintptr_t value) {
    return add_after(place_of<kForward>(*set, existing), value);
}

bool utInsertSetElementBefore(utSet* set, uintptr_t existing, uintptr_t value) {
    return add_after(place_of<kBackward>(*set, existing)->prev, value);
}

void utRemoveElementFromSet(uintptr_t value, utSet* set) {
    Node* const node = find<kForward>(*set, value);
    if (node == &set->header) return;
    unlink(*set, node);
    utFree(node);
}

bool utIsElementInSet(uintptr_t value, const utSet* set) {
    return find<kForward>(*set, value) != &set->header;
}

size_t utGetNumElementsInSet(const utSet* set) {
    size_t count = 0;
    for (const Node* node = set->header.next; node != &set->header; node = node->next) ++count;
    return count;
}

uintptr_t utGetNextSetElement(utSet* set, uintptr_t value) {
    return next_value<kForward>(*set, value);
}

uintptr_t utGetPrevSetElement(utSet* set, uintptr_t value) {
    return next_value<kBackward>(*set, value);
}

void utToEachSetElement(utSet* set, utSetElementFcn fn, uintptr_t argument_1,
                        uintptr_t argument_2) {
    to_each<kForward>(*set, fn, argument_1, argument_2);
}

void utToEachSetElementBackward(utSet* set, utSetElementFcn fn, uintptr_t argument_1,
                                uintptr_t argument_2) {
    to_each<kBackward>(*set, fn, argument_1, argument_2);
}
