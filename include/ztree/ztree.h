#pragma once
/// @file ztree.h
/// The whole library but its modern layer (ztree/ext).

#include <ztree/attrib.h>
#include <ztree/containers.h>
#include <ztree/csv.h>
#include <ztree/datetime.h>
#include <ztree/log.h>
#include <ztree/runtime.h>
#include <ztree/text.h>
#include <ztree/tree.h>
#include <ztree/types.h>
#include <ztree/xml.h>
