// A document as the signer sees it, however it was read: by its cross-references (Documento) or by a scan of its text
// (Barrido). Structure only: no sentence for anybody comes from here.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "pdf/LxFuente.h"

namespace LxPdf {

// An indirect object (ISO 32000-1, 7.3.10): number from 1 on. Number 0: none.
struct Ref {
    uint32_t num = 0;
    uint16_t gen = 0;

    [[nodiscard]] explicit operator bool() const { return num != 0; }
    auto operator<=>(const Ref&) const = default;
};

// "12 0 R".
[[nodiscard]] std::string Texto(Ref ref);

// Kinds of cross-reference sections (ISO 32000-1, 7.5.4 and 7.5.8): a hybrid one is a table whose trailer leads to a
// stream.
enum class Seccion : uint8_t { Tabla, Hibrida, Flujo };

// Why a document can't be read, or not by everybody alike.
enum class Defecto : uint8_t {
    Ninguno,
    NoSeLee,
    SinCabecera,
    SinStartxref,
    StartxrefFuera,
    TrailerIlegible,
    SinRaiz,
    Cifrado,
    DemasiadoGrande,
    SinObjetos,
    CatalogoIlegible,
    SinArbol,  // the catalogue has no reference to a page tree
    SinPaginas,
    Solapados,  // objects lie inside each other
    // Only of documents read by their cross-references.
    Irreparable,       // damaged, and a scan for its objects finds no document either
    Excesivo,          // `numero` says nothing
    Filtro,            // `nombre` is a filter of the structure that isn't read
    DosLecturas,       // object `numero`: programs find different ones under it
    DosRaices,         // the document has several catalogues, and programs choose different ones
    DosBases,          // its offsets hold both from the file's start and from the header's
    ClaveRepetida,     // object `numero`: a key stands twice in the catalogue, a page or the form
    GeneracionAjena,   // object `numero`: its generation differs between entry, header and reference
    MiembroImposible,  // object `numero`: its object stream can't hold it, or holds it in a doubtful way
    EntradaAjena,      // object `numero`: its entry is of a type that nobody defines
    HibridoAmbiguo,    // object `numero`: free for old readers, alive for new ones, in one section
};

struct Fallo {
    Defecto defecto = Defecto::Ninguno;
    uint32_t numero = 0;
    std::string nombre;
};

// A signature field (ISO 32000-1, 12.7.4.5), by its place in the field tree.
struct CampoFirma {
    Ref ref;
    std::string nombre;                        // fully qualified, UTF-8
    bool firmado = false;                      // its /V is a dictionary
    std::shared_ptr<const std::string> valor;  // inner text of the signature dictionary, shared where fields share it
    std::string cerrojo;                       // inner text of the field's /Lock, empty when there is none
};

// What adding a field has to know of the ones that are there.
struct Campos {
    std::set<std::string> nombres;      // texts of /T that a new field can't have
    std::map<uint32_t, size_t> sellos;  // page object to the count of visible signature widgets on it
    size_t firmados = 0;                // signature fields that hold a signature
    std::vector<std::string> vacios;    // names of those that wait for one
};

class Lectura {
  public:
    Lectura() = default;
    virtual ~Lectura() = default;
    Lectura(const Lectura&) = delete;
    Lectura& operator=(const Lectura&) = delete;

    [[nodiscard]] virtual const Fuente& Bytes() const = 0;

    // --- The newest cross-reference section
    [[nodiscard]] virtual Seccion Clase() const = 0;
    [[nodiscard]] virtual uint64_t Previo() const = 0;           // the offset that an update's /Prev says
    [[nodiscard]] virtual std::string_view Trailer() const = 0;  // inner text of its dictionary
    [[nodiscard]] virtual uint64_t Base() const { return 0; }    // the byte that offsets count from

    // --- Objects
    [[nodiscard]] virtual Ref Raiz() const = 0;
    [[nodiscard]] virtual uint32_t Siguiente() const = 0;  // the first number that no object has
    // The text of an object's value; of a stream, of its dictionary. False when there is no such object.
    [[nodiscard]] virtual bool ValorDe(Ref ref, std::string& valor) const = 0;
    // The value is a reference to an object that may be followed.
    [[nodiscard]] virtual bool RefDe(std::string_view dict, std::string_view clave, Ref& ref) const = 0;
    // The reference leads to nothing, which is as good as null (ISO 32000-1, 7.3.10).
    [[nodiscard]] virtual bool EsNulo(Ref ref) const = 0;
    // What is seen of the object is its last state, so that it may be written again.
    [[nodiscard]] virtual bool Vigente(Ref ref) const = 0;

    // Page objects in document order.
    [[nodiscard]] virtual const std::vector<Ref>& Paginas() const = 0;
    // Fields; stamps are counted on `paginas` at least.
    [[nodiscard]] virtual bool LeerCampos(const std::vector<Ref>& paginas, Campos& campos, Fallo& fallo) = 0;

    // Inner text of an object's dictionary.
    [[nodiscard]] bool DictDe(Ref ref, std::string& dict) const;
    // What stands between the brackets of an array, given its text or a reference to it.
    [[nodiscard]] bool ArrayDe(std::string_view valor, std::string& elementos) const;
};

// "Signature" and the smallest number from 1 up that is free.
[[nodiscard]] std::string NombreCampoLibre(const std::set<std::string>& nombres);

}  // namespace LxPdf
