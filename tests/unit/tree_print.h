// Compact one-line printing of syntax trees, and parse helpers for tests.
#pragma once
#include <string>

struct Node;

// One line such as "(block (assign x (bin + (id a) (num 1))))"; a null child
// prints as "_", texts are quoted with C-style escapes, numbers use %g.
std::string tree_str(const Node *n);

// Parses src as a whole program and prints the block.
std::string parse_tree(const char *src);

// The same with every node prefixed by its position ("7:(id a)"), the
// text's first byte at 0.
std::string parse_tree_pos(const char *src);

// Parses one expression at the start of src; *rest (when given) receives the
// text the parser left unread.
std::string parse_expr_tree(const char *src, std::string *rest = nullptr);
