#pragma once
/// @file attrib.h
/// Attributes and tokenizers.

#include <ztree/attributes.h>
#include <ztree/tokenizer.h>
