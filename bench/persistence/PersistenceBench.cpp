// A plan of 100,000 objects (a tree of fan-out 10, each with a label, a reference to its system
// and its child list) and 10,000 coordinate systems, written with MSAXWriter and read back with
// MSAXReader into new objects and the running repository; against libxml2 writing the same
// elements with xmlTextWriter and reading them with a SAX2 parser that does nothing with them.
// Timed round by round, the two sides alternating; the ratios of the medians at the end.

#include <libxml/parser.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <chrono>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <unordered_map>
#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/objects/UIObject.h"

namespace {

constexpr std::size_t kObjects = 100000;
constexpr std::size_t kSystems = 10000;
constexpr std::size_t kFanOut = 10;
constexpr int kRounds = 7;

class Part : public UIObject, public ISAXPersist {
 public:
  bool Write(MSAXWriter& writer) const override {
    MSAXTagWriter element(writer, L"Part");
    writer.RegisterReference(this);
    writer.WriteValue(L"Label", GetLabel());
    GetCoordinateSystem().WriteCoordinateSystem(L"System", writer);
    _WriteChildrenIDs(writer);
    return writer.IsGood();
  }
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Label") {
      std::wstring label;
      reader.ReadValue(label);
      SetLabel(label.c_str());
      return true;
    }
    if (tag == L"System") return _ReadCoordinateSystem(reader);
    return _HandleTagChildrenIDs(tag, reader);
  }
};

// The objects of a plan, taken out of their tree before they go.
struct Objects {
  std::vector<std::unique_ptr<Part>> parts;
  void Clear() {
    for (auto it = parts.rbegin(); it != parts.rend(); ++it) (*it)->MoveToParent(nullptr);
    parts.clear();
  }
  ~Objects() { Clear(); }
};

class Loader : public ISAXPersist {
 public:
  explicit Loader(Objects& into) : m_into(into) {}
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    if (tag == L"Plan") return true;
    if (tag == L"Transforms") {
      reader.DelegateElement(MTransformRepositoryEx::GetInstance());
      return true;
    }
    if (tag != L"Part") return false;
    m_into.parts.push_back(std::make_unique<Part>());
    reader.DelegateElement(m_into.parts.back().get());
    return true;
  }

 private:
  Objects& m_into;
};

// ---- the floor: libxml2 alone, the same elements ----

struct FloorPlan {
  struct System {
    std::uint32_t id, to;
    std::string label;
    double matrix[16];
  };
  std::vector<System> systems;
  std::uint32_t world_id, mm_id, ui_id;
  struct Object {
    std::uint32_t id, system;
    std::string label;
    std::vector<std::uint32_t> children;
  };
  std::vector<Object> objects;
};

xmlChar const* X(char const* s) { return reinterpret_cast<xmlChar const*>(s); }

std::string FloorWrite(FloorPlan const& plan) {
  xmlBufferPtr buffer = xmlBufferCreate();
  xmlTextWriterPtr w = xmlNewTextWriterMemory(buffer, 0);
  xmlTextWriterSetIndent(w, 1);
  xmlTextWriterSetIndentString(w, X(" "));
  xmlTextWriterStartDocument(w, "1.0", "UTF-8", nullptr);
  char digits[32];
  auto number = [&](std::uint32_t v) {
    *std::to_chars(digits, digits + 31, v).ptr = 0;
    return X(digits);
  };
  xmlTextWriterStartElement(w, X("Plan"));
  xmlTextWriterStartElement(w, X("Transforms"));
  xmlTextWriterStartElement(w, X("CoordinateSystems"));
  std::string text;
  for (FloorPlan::System const& s : plan.systems) {
    xmlTextWriterStartElement(w, X("CoordinateSystem"));
    xmlTextWriterWriteAttribute(w, X("id"), number(s.id));
    xmlTextWriterWriteElement(w, X("To"), number(s.to));
    if (!s.label.empty()) xmlTextWriterWriteElement(w, X("Label"), X(s.label.c_str()));
    text.clear();
    for (double e : s.matrix) {
      char n[32];
      text.append(n, std::to_chars(n, n + 32, e).ptr);
      text += ' ';
    }
    text.pop_back();
    xmlTextWriterWriteElement(w, X("TransformMatrix"), X(text.c_str()));
    xmlTextWriterEndElement(w);
  }
  xmlTextWriterEndElement(w);
  xmlTextWriterStartElement(w, X("World"));
  xmlTextWriterStartElement(w, X("CoordinateSystem"));
  xmlTextWriterWriteAttribute(w, X("id"), number(plan.world_id));
  xmlTextWriterWriteElement(w, X("To"), X("0"));
  xmlTextWriterWriteElement(w, X("Label"), X("stl units"));
  xmlTextWriterEndElement(w);
  xmlTextWriterEndElement(w);
  xmlTextWriterWriteElement(w, X("SystemUI"), number(plan.ui_id));
  xmlTextWriterWriteElement(w, X("SystemMM"), number(plan.mm_id));
  xmlTextWriterWriteElement(w, X("SystemSTL"), number(plan.world_id));
  xmlTextWriterWriteElement(w, X("SystemUIinMM"), X("false"));
  xmlTextWriterEndElement(w);
  for (FloorPlan::Object const& o : plan.objects) {
    xmlTextWriterStartElement(w, X("Part"));
    xmlTextWriterWriteAttribute(w, X("id"), number(o.id));
    xmlTextWriterWriteElement(w, X("Label"), X(o.label.c_str()));
    xmlTextWriterWriteElement(w, X("System"), number(o.system));
    if (!o.children.empty()) {
      xmlTextWriterStartElement(w, X("Children"));
      for (std::uint32_t c : o.children) xmlTextWriterWriteElement(w, X("Child"), number(c));
      xmlTextWriterEndElement(w);
    }
    xmlTextWriterEndElement(w);
  }
  xmlTextWriterEndElement(w);
  xmlTextWriterEndDocument(w);
  xmlFreeTextWriter(w);
  std::string out(reinterpret_cast<char const*>(xmlBufferContent(buffer)), xmlBufferLength(buffer));
  xmlBufferFree(buffer);
  return out;
}

struct FloorCounts {
  std::size_t elements = 0, text = 0;
};

std::size_t FloorRead(std::string const& document) {
  xmlSAXHandler sax;
  std::memset(&sax, 0, sizeof sax);
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = [](void* user, xmlChar const*, xmlChar const*, xmlChar const*, int, xmlChar const**, int,
                          int, xmlChar const**) { ++static_cast<FloorCounts*>(user)->elements; };
  sax.characters = [](void* user, xmlChar const*, int n) { static_cast<FloorCounts*>(user)->text += n; };
  FloorCounts counts;
  xmlParserCtxtPtr context = xmlCreatePushParserCtxt(&sax, &counts, nullptr, 0, nullptr);
  xmlCtxtUseOptions(context, XML_PARSE_NONET);
  for (std::size_t at = 0; at < document.size(); at += 1 << 16) {
    std::size_t const n = std::min<std::size_t>(1 << 16, document.size() - at);
    xmlParseChunk(context, document.data() + at, static_cast<int>(n), at + n == document.size());
  }
  xmlFreeParserCtxt(context);
  return counts.elements + counts.text;
}

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> t) {
  std::sort(t.begin(), t.end());
  return t[t.size() / 2];
}

}  // namespace

int main() {
  MTransformRepositoryEx& rep = *MTransformRepositoryEx::CreateInstance();
  std::mt19937 random(7);
  // 10,000 systems, each below the millimetre system or an earlier one, at most 8 deep.
  std::vector<MCoordinateSystem> systems;
  std::vector<int> depth;
  for (std::size_t i = 0; i < kSystems; ++i) {
    MMTransformMatrix m;
    m.MakeRotationZYX(double(random() % 90), 10, 20);
    m.PreMultiply([&] {
      MMTransformMatrix t;
      t.MakeTranslation(double(random() % 100), 0.5, -3.25);
      return t;
    }());
    std::size_t parent = i ? random() % i : 0;
    bool const top = i == 0 || depth[parent] >= 8;
    systems.push_back(rep.CreateNewSystem(m, top ? rep.GetSystemMm() : systems[parent],
                                          i % 3 ? nullptr : (L"s" + std::to_wstring(i)).c_str()));
    depth.push_back(top ? 1 : depth[parent] + 1);
  }
  Objects plan;
  for (std::size_t i = 0; i < kObjects; ++i) {
    auto part = std::make_unique<Part>();
    part->SetLabel((L"part " + std::to_wstring(i)).c_str());
    part->SetCoordinateSystem(systems[i % kSystems]);
    if (i) part->MoveToParent(plan.parts[(i - 1) / kFanOut].get());
    plan.parts.push_back(std::move(part));
  }

  // The framework's file, and the same elements for the floor.
  auto write_framework = [&] {
    MSAXWriter writer;
    {
      MSAXTagWriter root(writer, L"Plan");
      rep.Write(writer);
      for (auto const& part : plan.parts) part->Write(writer);
    }
    writer.EndDocument();
    return writer.GetOutput();
  };
  std::string const file = write_framework();
  FloorPlan floor;
  {
    // Numbers as the framework's writer gives them: systems first in list order, then objects.
    std::uint32_t next = 1;
    std::unordered_map<void const*, std::uint32_t> ids;
    auto id = [&](void const* p) {
      if (!p) return std::uint32_t(0);
      auto [it, fresh] = ids.try_emplace(p, next);
      if (fresh) ++next;
      return it->second;
    };
    for (auto const* node : rep.GetSystems()) {
      FloorPlan::System s;
      s.id = id(node);
      s.to = id(node->GetTo());
      for (wchar_t c : node->GetLabel()) s.label += char(c);
      node->GetTransform()->ConvertDouble16(s.matrix);
      floor.systems.push_back(s);
    }
    floor.world_id = id(rep.GetAbsoluteWorld().GetInternalSystem());
    floor.ui_id = id(rep.GetSystemUI().GetInternalSystem());
    floor.mm_id = id(rep.GetSystemMm().GetInternalSystem());
    for (auto const& part : plan.parts) {
      FloorPlan::Object o;
      o.id = id(static_cast<ISAXReference const*>(part.get()));
      for (wchar_t const* c = part->GetLabel(); *c; ++c) o.label += char(*c);
      o.system = id(part->GetCoordinateSystem().GetInternalSystem());
      for (UIObject const* child : part->GetChildren()) o.children.push_back(id(static_cast<ISAXReference const*>(child)));
      floor.objects.push_back(std::move(o));
    }
  }
  std::string const floor_file = FloorWrite(floor);
  std::printf("framework file %zu bytes, floor file %zu bytes\n", file.size(), floor_file.size());

  std::size_t sink = 0;
  std::vector<double> t_write, t_floor_write, t_read, t_floor_read;
  Objects loaded;
  for (int round = -1; round < kRounds; ++round) {  // round -1 warms up, untimed
    bool const flip = round % 2 != 0;
    for (int k = 0; k < 4; ++k) {
      int const which = flip ? 3 - k : k;
      auto start = std::chrono::steady_clock::now();
      double elapsed = 0;
      switch (which) {
        case 0:
          sink += write_framework().size();
          elapsed = Seconds(start);
          if (round >= 0) t_write.push_back(elapsed);
          break;
        case 1:
          sink += FloorWrite(floor).size();
          elapsed = Seconds(start);
          if (round >= 0) t_floor_write.push_back(elapsed);
          break;
        case 2: {
          Loader loader(loaded);
          MSAXReader reader;
          bool const ok = reader.ReadMemory(file, loader);
          elapsed = Seconds(start);
          if (!ok) std::printf("read failed: %ls\n", reader.GetError().c_str());
          sink += loaded.parts.size();
          if (round >= 0) t_read.push_back(elapsed);
          loaded.Clear();  // untimed: the next round reads into a repository without them
          rep.DeleteUnreferencedSystems();
          break;
        }
        default:
          sink += FloorRead(file);
          elapsed = Seconds(start);
          if (round >= 0) t_floor_read.push_back(elapsed);
      }
    }
  }
  std::printf("%zu objects, %zu systems, %d rounds (sink %zu)\n", kObjects, kSystems, kRounds, sink % 10);
  std::printf("  %-44s %8.1f ms (median)\n", "write: MSAXWriter, objects and repository", 1e3 * Median(t_write));
  std::printf("  %-44s %8.1f ms (median)\n", "write: libxml2 xmlTextWriter alone", 1e3 * Median(t_floor_write));
  std::printf("  %-44s %8.1f ms (median)\n", "read: MSAXReader into objects and repository", 1e3 * Median(t_read));
  std::printf("  %-44s %8.1f ms (median)\n", "read: libxml2 SAX2 alone", 1e3 * Median(t_floor_read));
  std::printf("\nRatios (framework time / floor time, lower is better):\n");
  std::printf("  %-44s %8.3f\n", "write", Median(t_write) / Median(t_floor_write));
  std::printf("  %-44s %8.3f\n", "read", Median(t_read) / Median(t_floor_read));
  std::printf("  %-44s %8.3f\n", "write and read", (Median(t_write) + Median(t_read)) /
                                                       (Median(t_floor_write) + Median(t_floor_read)));
  plan.Clear();
  systems.clear();
  MTransformRepositoryEx::DeleteInstance();
  return 0;
}
