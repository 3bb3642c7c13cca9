#ifndef ORV_LIST_H
#define ORV_LIST_H

/// The link of every record: a circular, doubly linked list whose anchor lies in the list object.
///
/// An empty list's anchor points to itself in both directions. The link is the last member of its
/// record and is named `list` or `node`; a record is reached from its link by subtracting the
/// link's offset. A list type derives from its record and adds no member, so the anchor of a list
/// lies where the link of a record lies.
struct list_node {
  list_node* next;  ///< the record behind, or the anchor
  list_node* prev;  ///< the record before, or the anchor
};

#endif
