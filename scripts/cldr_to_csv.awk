# awk -v table=TABLE -f cldr_to_csv.awk supplementalData.xml
#   country_currencies   country,currency                 the legal tenders of today, the most usual one first
#   country_languages    country,language,status,share    those with a status, the most spoken first; share in percent
# Countries, currencies and languages by their ISO codes; of a language that is written in several scripts the first.

# The value of an attribute of the element on this line; empty if it has none.
function attribute(name) {
    if (!match($0, " " name "=\"[^\"]*\"")) return ""
    return substr($0, RSTART + length(name) + 3, RLENGTH - length(name) - 4)
}

BEGIN { print table == "country_currencies" ? "country,currency" : "country,language,status,share" }

/<region iso3166=/ { country = attribute("iso3166") }
/<territory type=/ { country = attribute("type") }
table == "country_currencies" && /<currency iso4217=/ && length(country) == 2 {
    currency = attribute("iso4217")
    if (attribute("to") == "" && attribute("tender") != "false" && !seen[country, currency]++) print country "," currency
}
table == "country_languages" && /<languagePopulation / && length(country) == 2 {
    language = attribute("type")
    sub(/_.*/, "", language)
    status = attribute("officialStatus")
    if (status != "" && !seen[country, language]++) print country "," language "," status "," attribute("populationPercent")
}
