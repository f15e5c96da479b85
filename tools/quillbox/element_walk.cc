// DescribeStorage: the element objects an enumerator yields are read and
// let go at once, so nothing stays open behind the walk.
#include "element_walk.h"

#include <functional>

namespace quillbox::tool {
namespace {

// Calls visit with each object that collection's _NewEnum yields.
template <class Collection>
Status ForEachElement(Collection* collection, const std::function<Status(IDispatch*)>& visit) {
  ComPtr<IUnknown> unknown;
  if (Status s = Check(collection->get__NewEnum(unknown.put())); !s.ok()) return s;
  ComPtr<IEnumVARIANT> items;
  if (Status s = Check(unknown->QueryInterface(IID_PPV_ARGS(items.put()))); !s.ok()) return s;
  // The enumerator walks a snapshot of the collection's table, which ends.
  for (;;) {
    Variant item;
    ULONG fetched = 0;
    const HRESULT hr = items->Next(1, item.get(), &fetched);
    if (Status s = Check(hr); !s.ok()) return s;
    if (hr == S_FALSE || fetched == 0) return Status::Ok();
    if ((*item).vt != VT_DISPATCH || !(*item).pdispVal) return Status::Tool("an enumerator yielded no element object");
    if (Status s = visit((*item).pdispVal); !s.ok()) return s;
  }
}

Status DescribeStream(_Stream* stream, Element* element) {
  Bstr name;
  LONG size = 0;
  if (Status s = Check(stream->get_Name(name.put())); !s.ok()) return s;
  if (Status s = Check(stream->get_Size(&size)); !s.ok()) return s;
  element->name = name.text();
  element->is_storage = false;
  element->size = static_cast<ULONG>(size);
  return Status::Ok();
}

Status DescribeAt(_Storage* storage, int levels, int depth, Element* element) {
  Bstr name;
  Bstr clsid;
  if (Status s = Check(storage->get_Name(name.put())); !s.ok()) return s;
  if (Status s = Check(storage->get_Creation(&element->created)); !s.ok()) return s;
  if (Status s = Check(storage->get_LastModified(&element->modified)); !s.ok()) return s;
  if (Status s = Check(storage->get_Clsid(clsid.put())); !s.ok()) return s;
  element->name = name.text();
  element->is_storage = true;
  element->clsid = clsid.text();
  if (levels != kAllLevels && depth >= levels) return Status::Ok();
  if (depth >= kMaxDepth) {
    return Status::Tool("storages are nested more than " + std::to_string(kMaxDepth) + " levels deep");
  }

  ComPtr<_Storages> storages;
  if (Status s = Check(storage->get_Storages(storages.put())); !s.ok()) return s;
  Status s = ForEachElement(storages.get(), [&](IDispatch* item) {
    ComPtr<_Storage> child;
    if (Status q = Check(item->QueryInterface(IID_PPV_ARGS(child.put()))); !q.ok()) return q;
    Element described;
    if (Status d = DescribeAt(child.get(), levels, depth + 1, &described); !d.ok()) return d;
    element->children.push_back(std::move(described));
    return Status::Ok();
  });
  if (!s.ok()) return s;

  ComPtr<_Streams> streams;
  if (s = Check(storage->get_Streams(streams.put())); !s.ok()) return s;
  return ForEachElement(streams.get(), [&](IDispatch* item) {
    ComPtr<_Stream> child;
    if (Status q = Check(item->QueryInterface(IID_PPV_ARGS(child.put()))); !q.ok()) return q;
    Element described;
    if (Status d = DescribeStream(child.get(), &described); !d.ok()) return d;
    element->children.push_back(std::move(described));
    return Status::Ok();
  });
}

}  // namespace

Status DescribeStorage(_Storage* storage, int levels, Element* element) {
  *element = Element();
  return DescribeAt(storage, levels, 0, element);
}

}  // namespace quillbox::tool
