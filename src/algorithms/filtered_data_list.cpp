// FilteredDataList: evaluation of items through the filter chain and the notifications. Callbacks
// may add or remove registrations while a notification runs, so every loop walks the current
// vectors by index and re-reads their size: no removed object is called afterwards.
#include <qobase/algorithms/filtered_data_list.h>

#include <algorithm>

namespace {

template <class T>
void EraseFirst(std::vector<T*>& objects, T* object) {
  const auto found = std::find(objects.begin(), objects.end(), object);
  if (found != objects.end()) objects.erase(found);
}

template <class Consumer, class Call>
void TellAll(const std::vector<Consumer*>& consumers, Call call) {
  for (size_t i = 0; i < consumers.size(); ++i) call(consumers[i]);
}

}  // namespace

FilteredDataList::~FilteredDataList() {
  ClearAllItems();
  ClearAllFilters();
}

void FilteredDataList::SetSource(IDataSource* source) {
  m_source = source;
  ClearAllItems();
  EvaluateAllRows();
}

void FilteredDataList::FilterChanged() { EvaluateAllRows(); }

FilteredDataList::IDataIterator* FilteredDataList::GetRowIterator() {
  return m_source ? m_source->GetRowIterator() : nullptr;
}

FilteredDataList::IDataIterator* FilteredDataList::GetColumnIterator(const void* item) {
  return m_source ? m_source->GetColumnIterator(item) : nullptr;
}

void FilteredDataList::AddFilter(IDataFilter* filter) {
  if (!filter) return;
  m_filters.push_back(filter);
  filter->SetList(this);
  TellAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterAdded(filter); });
  EvaluateAllRows();
}

void FilteredDataList::RemoveFilter(IDataFilter* filter) {
  if (std::find(m_filters.begin(), m_filters.end(), filter) == m_filters.end()) return;
  filter->SetList(nullptr);
  TellAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterRemoved(filter); });
  EraseFirst(m_filters, filter);
}

void FilteredDataList::RemoveFilter(FilterIterator& position) {
  if (position == m_filters.end()) return;
  const auto index = static_cast<size_t>(position - m_filters.begin());
  IDataFilter* filter = *position;
  filter->SetList(nullptr);
  TellAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterRemoved(filter); });
  // The callbacks may have changed the vector; find the filter again before erasing it.
  if (index < m_filters.size() && m_filters[index] == filter) {
    m_filters.erase(m_filters.begin() + static_cast<std::ptrdiff_t>(index));
  } else {
    EraseFirst(m_filters, filter);
  }
  position = m_filters.begin() + static_cast<std::ptrdiff_t>(std::min(index, m_filters.size()));
}

void FilteredDataList::ClearAllFilters() {
  while (!m_filters.empty()) {
    FilterIterator first = m_filters.begin();
    RemoveFilter(first);
  }
}

void FilteredDataList::DestroyAllFilters() {
  while (!m_filters.empty()) {
    IDataFilter* filter = m_filters.front();
    FilterIterator first = m_filters.begin();
    RemoveFilter(first);
    filter->Destroy();
  }
}

void FilteredDataList::AddFilterConsumer(IDataFilterConsumer* consumer) {
  if (!consumer) return;
  m_filterConsumers.push_back(consumer);
  for (size_t i = 0; i < m_filters.size(); ++i) consumer->FilterAdded(m_filters[i]);
}

void FilteredDataList::RemoveFilterConsumer(IDataFilterConsumer* consumer) {
  EraseFirst(m_filterConsumers, consumer);
}

void FilteredDataList::AddDataConsumer(IDataConsumer* consumer) {
  if (!consumer) return;
  m_dataConsumers.push_back(consumer);
  IDataSource* source = m_source;
  IDataIterator* rows = source ? source->GetRowIterator() : nullptr;
  if (!rows) return;
  while (const void* item = rows->Next()) {
    if (Passes(item)) consumer->ItemAddedOrChanged(item);
    if (m_source != source) break;  // a callback swapped the source: stop walking the old one
  }
  rows->Release();
}

void FilteredDataList::RemoveDataConsumer(IDataConsumer* consumer) {
  if (consumer) EraseFirst(m_dataConsumers, consumer);
}

void FilteredDataList::ItemAddedOrChanged(const void* item) {
  if (!m_source) return;
  if (Passes(item)) {
    TellAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemAddedOrChanged(item); });
  } else {
    TellAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemRemoved(item); });
  }
}

void FilteredDataList::ItemRemoved(const void* item) {
  TellAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemRemoved(item); });
}

bool FilteredDataList::ApplyFilters(const void* item) { return Passes(item); }

void FilteredDataList::ClearAllItems() {
  TellAll(m_dataConsumers, [](IDataConsumer* c) { c->ClearAllItems(); });
}

void FilteredDataList::OpenBrace() {
  TellAll(m_dataConsumers, [](IDataConsumer* c) { c->OpenBrace(); });
}

void FilteredDataList::CloseBrace() {
  TellAll(m_dataConsumers, [](IDataConsumer* c) { c->CloseBrace(); });
}

bool FilteredDataList::Passes(const void* item) {
  IDataIterator* columns = m_source ? m_source->GetColumnIterator(item) : nullptr;
  bool passes = true;
  for (size_t i = 0; i < m_filters.size() && passes; ++i) {
    const void* value = columns ? columns->Next() : nullptr;
    passes = m_filters[i]->Accept(value);
  }
  if (columns) columns->Release();
  return passes;
}

void FilteredDataList::EvaluateAllRows() {
  IDataSource* source = m_source;
  IDataIterator* rows = source ? source->GetRowIterator() : nullptr;
  if (!rows) return;
  while (const void* item = rows->Next()) {
    ItemAddedOrChanged(item);
    if (m_source != source) break;  // a callback swapped the source: stop walking the old one
  }
  rows->Release();
}
