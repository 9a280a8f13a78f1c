// orvex: what check and run share to point at a place and to name things.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct Node;

// "FILE:LINE:COL" of a position of the source set; "FILE" alone when its
// text was not kept, "?" for a position of no known text.
std::string where_text(uint32_t pos);
// The source text holding pos from pos on, or null when it was not kept.
const char *text_at(uint32_t pos);

// The candidate nearest to name by edits, when few enough edits to be a
// slip of the keyboard (a transposition counts as one), and at most most; else "".
std::string nearest_name(const std::string &name, const std::vector<std::string> &candidates, size_t most = 3);
// Every name in a text that could be a variable or function, once each.
std::vector<std::string> names_in_text(const char *text);
// Every builtin name, once each, in the dispatcher's order.
const std::vector<std::string> &builtin_names();
// "; did you mean `X`?" for the nearest of the candidates and the
// builtins, or "" when none is near.
std::string did_you_mean(const std::string &name, const std::vector<std::string> &candidates);
// For root.member where root is no variable: when root names a family of
// builtins, what to say about the member ("no builtin txt.low; did you
// mean txt.lo? the txt family: ..."); else "".
std::string family_note(const std::string &root, const std::string &member);

// "a.b.c" for a name or a chain of fields from one, else "".
std::string dotted_name(const Node *n);
