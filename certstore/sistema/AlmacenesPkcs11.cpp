#include "certstore/sistema/AlmacenesPkcs11.h"

#include <dlfcn.h>
#include <p11-kit/p11-kit.h>

#include <cstdlib>
#include <memory>
#include <string_view>

#include "certstore/sistema/BasesNss.h"
#include "certstore/sistema/Softokn.h"

namespace Lx::CertStore::Pkcs11 {

namespace {

// The functions of libp11-kit.so.0 that are used here.
struct P11Kit {
    decltype(&p11_kit_modules_load) cargar = nullptr;
    decltype(&p11_kit_modules_initialize) iniciar = nullptr;
    decltype(&p11_kit_modules_finalize) terminar = nullptr;
    decltype(&p11_kit_modules_release) soltar = nullptr;
    decltype(&p11_kit_module_get_name) nombre = nullptr;
    decltype(&p11_kit_config_option) opcion = nullptr;
    decltype(&p11_kit_be_quiet) callar = nullptr;
};

template <class F>
[[nodiscard]] bool Resolver(void* biblioteca, const char* nombre, F& funcion) {
    funcion = reinterpret_cast<F>(dlsym(biblioteca, nombre));
    return funcion != nullptr;
}

[[nodiscard]] const P11Kit* ElP11Kit() {
    static P11Kit p;
    static bool abierto = false;
    if (abierto) return &p;
    void* b = AbrirBiblioteca("libp11-kit.so.0");
    if (b == nullptr) return nullptr;
    abierto = Resolver(b, "p11_kit_modules_load", p.cargar) && Resolver(b, "p11_kit_modules_initialize", p.iniciar) &&
              Resolver(b, "p11_kit_modules_finalize", p.terminar) && Resolver(b, "p11_kit_modules_release", p.soltar) &&
              Resolver(b, "p11_kit_module_get_name", p.nombre) && Resolver(b, "p11_kit_config_option", p.opcion) &&
              Resolver(b, "p11_kit_be_quiet", p.callar);
    return abierto ? &p : nullptr;
}

// The modules that are wanted, initialised. p11-kit counts users: what the rest of the process has going stays so.
class Modulos {
  public:
    explicit Modulos(const P11Kit& p) : p_(p) {
        p_.callar();  // a broken module is no news for the user's terminal
        todos_ = p_.cargar(nullptr, 0);
        for (CK_FUNCTION_LIST** m = todos_; m != nullptr && *m != nullptr; ++m)
            if (Interesa(*m)) elegidos.push_back(*m);
        elegidos.push_back(nullptr);
        // Those that fail are taken out of the list, and that they failed is all there is to say.
        static_cast<void>(p_.iniciar(elegidos.data(), nullptr));
    }
    ~Modulos() {
        p_.terminar(elegidos.data());
        if (todos_ != nullptr) p_.soltar(todos_);
    }
    Modulos(const Modulos&) = delete;
    Modulos& operator=(const Modulos&) = delete;

    std::vector<CK_FUNCTION_LIST*> elegidos;  // up to the first null

  private:
    using Texto = std::unique_ptr<char, decltype(&std::free)>;

    [[nodiscard]] bool Interesa(CK_FUNCTION_LIST* modulo) const {
        const Texto nombre(p_.nombre(modulo), std::free);
        const Texto confianza(p_.opcion(modulo, "trust-policy"), std::free);
        // The card layer owns the readers; a second one that talks to them can hang the list.
        if (nombre && std::string_view(nombre.get()).starts_with("opensc")) return false;
        return !confianza || std::string_view(confianza.get()) != "yes";
    }

    const P11Kit& p_;
    CK_FUNCTION_LIST** todos_ = nullptr;
};

[[nodiscard]] CK_RV VisitarBase(CK_FUNCTION_LIST* softokn, const std::string& carpeta, const Visita& visita,
                                bool& seguir) {
    BaseNss base(softokn, carpeta);
    std::vector<Token> tokens;
    CK_RV codigo = base.Abrir();
    if (codigo == CKR_OK) codigo = base.Tokens(tokens);
    for (const Token& token : tokens) {
        if (!seguir) break;
        const CK_RV suyo = visita(token, seguir);
        if (codigo == CKR_OK) codigo = suyo;
    }
    return codigo;
}

void VisitarModulo(CK_FUNCTION_LIST* modulo, const Visita& visita, bool& seguir) {
    std::vector<CK_SLOT_ID> ranuras;
    if (Ranuras(modulo, ranuras) != CKR_OK) return;
    for (const CK_SLOT_ID ranura : ranuras) {
        CK_TOKEN_INFO info = {};
        if (!seguir) return;
        if (modulo->C_GetTokenInfo(ranura, &info) != CKR_OK || (info.flags & CKF_TOKEN_INITIALIZED) == 0) continue;
        static_cast<void>(visita({modulo, ranura, Recortar(info.label, sizeof info.label), ""}, seguir));
    }
}

}  // namespace

Recorrido Recorrer(const Visita& visita) {
    Recorrido r;
    bool seguir = true;
    const std::vector<std::string> carpetas = CarpetasNss();
    CK_FUNCTION_LIST* softokn = carpetas.empty() ? nullptr : Softokn();
    r.faltaSoftokn = !carpetas.empty() && softokn == nullptr;
    for (const std::string& carpeta : carpetas) {
        if (!seguir || softokn == nullptr) break;
        const CK_RV codigo = VisitarBase(softokn, carpeta, visita, seguir);
        if (r.codigo == CKR_OK) r.codigo = codigo;
    }
    const P11Kit* p = seguir ? ElP11Kit() : nullptr;
    if (p == nullptr) return r;
    const Modulos modulos(*p);
    for (CK_FUNCTION_LIST* modulo : modulos.elegidos) {
        if (!seguir || modulo == nullptr) break;
        VisitarModulo(modulo, visita, seguir);
    }
    return r;
}

}  // namespace Lx::CertStore::Pkcs11
