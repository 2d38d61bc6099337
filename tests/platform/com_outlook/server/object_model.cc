// The object model by IDispatch, over whatever offers platform/outlook.h. It is strict: a member is called as
// what it is (method, property), with arguments of exactly its types. Texts and dates are converted by the
// system's own functions.

#include "platform/com_outlook/server/object_model.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace kova::test_outlook {

namespace {

namespace outlook = platform::outlook;
using platform::DateTime;

template <typename Property>
struct Named {
  std::string_view name;
  Property property;
};

using T = outlook::TextProperty;
constexpr Named<T> kTexts[] = {
    {"Subject", T::kSubject},
    {"Body", T::kBody},
    {"Location", T::kLocation},
    {"LastNameAndFirstName", T::kLastNameAndFirstName},
    {"LastName", T::kLastName},
    {"FirstName", T::kFirstName},
    {"FullName", T::kFullName},
    {"JobTitle", T::kJobTitle},
    {"Title", T::kTitle},
    {"CompanyName", T::kCompanyName},
    {"BusinessTelephoneNumber", T::kBusinessTelephoneNumber},
    {"BusinessFaxNumber", T::kBusinessFaxNumber},
    {"HomeTelephoneNumber", T::kHomeTelephoneNumber},
    {"Home2TelephoneNumber", T::kHome2TelephoneNumber},
    {"MobileTelephoneNumber", T::kMobileTelephoneNumber},
    {"PagerNumber", T::kPagerNumber},
    {"WebPage", T::kWebPage},
    {"Email1Address", T::kEmail1Address},
};
using N = outlook::NumberProperty;
constexpr Named<N> kNumbers[] = {
    {"Size", N::kSize},
    {"Duration", N::kDuration},
    {"ReminderMinutesBeforeStart", N::kReminderMinutesBeforeStart},
    {"PercentComplete", N::kPercentComplete},
};
using F = outlook::FlagProperty;
constexpr Named<F> kFlags[] = {
    {"UnRead", F::kUnRead}, {"AllDayEvent", F::kAllDayEvent}, {"ReminderSet", F::kReminderSet}};
using D = outlook::DateProperty;
constexpr Named<D> kDates[] = {{"ReceivedTime", D::kReceivedTime},
                               {"Start", D::kStart},
                               {"End", D::kEnd},
                               {"StartDate", D::kStartDate},
                               {"DueDate", D::kDueDate}};
constexpr std::string_view kOperations[] = {
    "GetNamespace", "GetDefaultFolder", "Items",   "Sort",       "IncludeRecurrences",
    "Restrict",     "GetFirst",         "GetNext", "CreateItem", "Save"};

/// A member's number counts through all tables, from 1.
template <typename Visit>
void eachMember(Visit visit) {
  DISPID id = 0;
  for (const auto& entry : kTexts) visit(entry.name, ++id);
  for (const auto& entry : kNumbers) visit(entry.name, ++id);
  for (const auto& entry : kFlags) visit(entry.name, ++id);
  for (const auto& entry : kDates) visit(entry.name, ++id);
  for (const auto& name : kOperations) visit(name, ++id);
}

DISPID idOf(std::string_view member) {
  DISPID result = DISPID_UNKNOWN;
  eachMember([&](std::string_view name, DISPID id) {
    if (name == member) result = id;
  });
  return result;
}

std::string_view nameOf(DISPID member) {
  std::string_view result;
  eachMember([&](std::string_view name, DISPID id) {
    if (id == member) result = name;
  });
  return result;
}

template <typename Property, std::size_t size>
const Property* find(const Named<Property> (&table)[size], std::string_view name) {
  const auto* entry = std::find_if(table, table + size, [&](const auto& e) { return e.name == name; });
  return entry == table + size ? nullptr : &entry->property;
}

std::string narrow(const wchar_t* text, UINT length) {
  const int size = static_cast<int>(length);
  std::string result(WideCharToMultiByte(CP_UTF8, 0, text, size, nullptr, 0, nullptr, nullptr), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, size, result.data(), static_cast<int>(result.size()), nullptr,
                      nullptr);
  return result;
}

BSTR wide(std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result, length);
  return result;
}

double variantTime(const DateTime& time) {
  SYSTEMTIME system{};
  system.wYear = static_cast<WORD>(time.year);
  system.wMonth = static_cast<WORD>(time.month);
  system.wDay = static_cast<WORD>(time.day);
  system.wHour = static_cast<WORD>(time.hour);
  system.wMinute = static_cast<WORD>(time.minute);
  system.wSecond = static_cast<WORD>(time.second);
  double result = 0;
  SystemTimeToVariantTime(&system, &result);
  return result;
}

DateTime dateTime(double time) {
  SYSTEMTIME system{};
  VariantTimeToSystemTime(time, &system);
  return {system.wYear, system.wMonth, system.wDay, system.wHour, system.wMinute, system.wSecond};
}

/// A call's outcome that is no plain HRESULT.
struct Refused {
  HRESULT code;
  std::string text;
};

class Object;
IDispatch* asDispatch(Object* object);

/// One call of a member.
struct Call {
  std::string_view member;
  WORD flags;
  VARIANT* argument;  ///< null where there is none
  VARIANT* result;
  std::optional<Refused> refused;

  bool method(std::string_view name) const { return member == name && (flags & DISPATCH_METHOD) && result; }
  bool get(std::string_view name) const { return member == name && (flags & DISPATCH_PROPERTYGET) && result; }
  bool put() const { return flags == DISPATCH_PROPERTYPUT && argument; }
  bool has(VARTYPE type) const { return argument && argument->vt == type; }
  std::string text() const { return narrow(argument->bstrVal, SysStringLen(argument->bstrVal)); }

  HRESULT give(std::string_view text) const {
    result->vt = VT_BSTR;
    result->bstrVal = wide(text);
    return S_OK;
  }
  HRESULT give(long number) const {
    result->vt = VT_I4;
    result->lVal = number;
    return S_OK;
  }
  HRESULT give(bool flag) const {
    result->vt = VT_BOOL;
    result->boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT give(const DateTime& time) const {
    result->vt = VT_DATE;
    result->date = variantTime(time);
    return S_OK;
  }
  /// Null is Nothing.
  HRESULT give(Object* object) const {
    result->vt = VT_DISPATCH;
    result->pdispVal = asDispatch(object);
    return S_OK;
  }
  HRESULT refuse(std::string text) {
    refused = Refused{static_cast<HRESULT>(0x80040005), std::move(text)};
    return DISP_E_EXCEPTION;
  }
};

/// Counts its references; all of it runs on the server's one thread.
class Object : public IDispatch {
 public:
  explicit Object(const Model& model) : model_(model) {}
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override {
    *result = nullptr;
    if (id != IID_IUnknown && id != IID_IDispatch) return E_NOINTERFACE;
    *result = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (count != 1) return E_NOTIMPL;
    const std::string name = narrow(names[0], static_cast<UINT>(std::wstring_view(names[0]).size()));
    ids[0] = model_.control.order("lacks", name) ? DISPID_UNKNOWN : idOf(name);
    return ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT*) override {
    Call call{nameOf(id), flags, parameters->cArgs ? parameters->rgvarg : nullptr, result, std::nullopt};
    if (result) VariantInit(result);
    const bool put = flags == DISPATCH_PROPERTYPUT;
    if (put != (parameters->cNamedArgs == 1) ||
        (put && parameters->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)) {
      return DISP_E_PARAMNOTFOUND;
    }
    if (parameters->cArgs > 1) return DISP_E_BADPARAMCOUNT;

    hang(model_, call.member);
    if (model_.control.order("end", call.member)) model_.end();
    HRESULT outcome = DISP_E_EXCEPTION;
    if (const auto failure = model_.control.order("fail", call.member)) {
      const std::size_t blank = std::min(failure->find(' '), failure->size());
      call.refused = Refused{static_cast<HRESULT>(std::strtoul(failure->c_str(), nullptr, 16)),
                             failure->substr(std::min(blank + 1, failure->size()))};
    } else {
      outcome = perform(call);
    }
    if (call.refused && exception) {
      *exception = EXCEPINFO{};
      exception->scode = call.refused->code;
      exception->bstrSource = wide("Microsoft Outlook");
      if (!call.refused->text.empty()) exception->bstrDescription = wide(call.refused->text);
    }
    if (outcome == S_OK && result) {
      if (const auto type = model_.control.order("as", call.member)) return change(*result, *type);
    }
    return outcome;
  }

 protected:
  /// DISP_E_MEMBERNOTFOUND for what the object does not have.
  virtual HRESULT perform(Call& call) = 0;

  const Model model_;

 private:
  static HRESULT change(VARIANT& value, std::string_view type) {
    const auto become = [&](VARTYPE t) { return VariantChangeType(&value, &value, 0, t); };
    if (type == "I2") return become(VT_I2);
    if (type == "R8") return become(VT_R8);
    if (type == "DECIMAL") return become(VT_DECIMAL);
    if (type == "BSTR") return become(VT_BSTR);
    VariantClear(&value);
    value.vt = type == "NULL" ? VT_NULL : type == "ERROR" ? VT_ERROR : VT_EMPTY;
    if (type == "ERROR") value.scode = DISP_E_PARAMNOTFOUND;
    return S_OK;
  }

  ULONG references_ = 1;
};

IDispatch* asDispatch(Object* object) { return object; }

/// An object over a part of the data; null stands for Nothing.
template <typename Wrapper, typename Part>
Wrapper* wrap(const Model& model, std::unique_ptr<Part> part) {
  return part ? new Wrapper(model, std::move(part)) : nullptr;
}

class ItemObject final : public Object {
 public:
  ItemObject(const Model& model, std::unique_ptr<outlook::Item> item)
      : Object(model), item_(std::move(item)) {}

 private:
  HRESULT perform(Call& call) override {
    if (call.method("Save")) return item_->save() ? S_OK : call.refuse("The item cannot be saved.");
    if (const T* text = find(kTexts, call.member)) {
      if (call.put()) {
        if (!call.has(VT_BSTR)) return DISP_E_TYPEMISMATCH;
        return done(call, item_->setText(*text, call.text()));
      }
      return give(call, item_->text(*text));
    }
    if (const N* number = find(kNumbers, call.member)) {
      if (call.put()) {
        if (!call.has(VT_I4)) return DISP_E_TYPEMISMATCH;
        return done(call, item_->setNumber(*number, call.argument->lVal));
      }
      return give(call, item_->number(*number));
    }
    if (const F* flag = find(kFlags, call.member)) {
      if (call.put()) {
        if (!call.has(VT_BOOL)) return DISP_E_TYPEMISMATCH;
        return done(call, item_->setFlag(*flag, call.argument->boolVal == VARIANT_TRUE));
      }
      return give(call, item_->flag(*flag));
    }
    if (const D* date = find(kDates, call.member)) {
      if (call.put()) {
        if (!call.has(VT_DATE)) return DISP_E_TYPEMISMATCH;
        return done(call, item_->setDate(*date, dateTime(call.argument->date)));
      }
      return give(call, item_->date(*date));
    }
    return DISP_E_MEMBERNOTFOUND;
  }

  static HRESULT done(Call& call, bool ok) { return ok ? S_OK : call.refuse("The property is read-only."); }
  template <typename Value>
  static HRESULT give(const Call& call, const std::optional<Value>& value) {
    return value && call.get(call.member) ? call.give(*value) : DISP_E_MEMBERNOTFOUND;
  }

  std::unique_ptr<outlook::Item> item_;
};

class ItemsObject final : public Object {
 public:
  ItemsObject(const Model& model, std::unique_ptr<outlook::Items> items)
      : Object(model), items_(std::move(items)) {}

 private:
  HRESULT perform(Call& call) override {
    if (call.method("GetFirst")) return call.give(wrap<ItemObject>(model_, items_->getFirst()));
    if (call.method("GetNext")) return call.give(wrap<ItemObject>(model_, items_->getNext()));
    if (call.method("Sort") && call.has(VT_BSTR)) {
      return items_->sort(call.text()) ? S_OK : call.refuse("The property is unknown.");
    }
    if (call.method("Restrict") && call.has(VT_BSTR)) {
      ItemsObject* const part = wrap<ItemsObject>(model_, items_->restrict(call.text()));
      return part ? call.give(part) : call.refuse("Cannot parse condition.");
    }
    if (call.member == "IncludeRecurrences" && call.put() && call.has(VT_BOOL)) {
      items_->setIncludeRecurrences(call.argument->boolVal == VARIANT_TRUE);
      return S_OK;
    }
    return DISP_E_MEMBERNOTFOUND;
  }

  std::unique_ptr<outlook::Items> items_;
};

class FolderObject final : public Object {
 public:
  FolderObject(const Model& model, std::unique_ptr<outlook::Folder> folder)
      : Object(model), folder_(std::move(folder)) {}

 private:
  HRESULT perform(Call& call) override {
    if (!call.get("Items")) return DISP_E_MEMBERNOTFOUND;
    ItemsObject* const items = wrap<ItemsObject>(model_, folder_->items());
    return items ? call.give(items) : call.refuse("The folder cannot be opened.");
  }

  std::unique_ptr<outlook::Folder> folder_;
};

class NameSpaceObject final : public Object {
 public:
  NameSpaceObject(const Model& model, std::unique_ptr<outlook::NameSpace> nameSpace)
      : Object(model), nameSpace_(std::move(nameSpace)) {}

 private:
  HRESULT perform(Call& call) override {
    if (!call.method("GetDefaultFolder") || !call.has(VT_I4)) return DISP_E_MEMBERNOTFOUND;
    const auto number = static_cast<outlook::FolderNumber>(call.argument->lVal);
    FolderObject* const folder = wrap<FolderObject>(model_, nameSpace_->getDefaultFolder(number));
    return folder ? call.give(folder) : call.refuse("There is no such folder.");
  }

  std::unique_ptr<outlook::NameSpace> nameSpace_;
};

class ApplicationObject final : public Object {
 public:
  ApplicationObject(const Model& model, std::unique_ptr<outlook::Application> application)
      : Object(model), application_(std::move(application)) {}

 private:
  HRESULT perform(Call& call) override {
    if (call.method("GetNamespace") && call.has(VT_BSTR) && call.text() == "MAPI") {
      return call.give(wrap<NameSpaceObject>(model_, application_->getNamespace("MAPI")));
    }
    if (call.method("CreateItem") && call.has(VT_I4)) {
      const auto number = static_cast<outlook::ItemNumber>(call.argument->lVal);
      return call.give(wrap<ItemObject>(model_, application_->createItem(number)));
    }
    return DISP_E_MEMBERNOTFOUND;
  }

  std::unique_ptr<outlook::Application> application_;
};

}  // namespace

void hang(const Model& model, std::string_view member) {
  const auto time = model.control.order("hang", member);
  if (!time) return;
  constexpr int kSliceMs = 20;
  for (int left = std::atoi(time->c_str()); left > 0; left -= kSliceMs) {
    Sleep(kSliceMs);
    if (model.control.order("quit")) model.end();
  }
}

IDispatch* makeApplication(const Model& model) {
  return wrap<ApplicationObject>(model, model.data.createObject("Outlook.Application"));
}

}  // namespace kova::test_outlook
