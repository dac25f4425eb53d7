import type { Key } from "./english";

/** Title and advice of each measure of a check. In English the service's own advice is shown. */
export const germanMeasures: Readonly<Record<string, readonly [title: string, advice: string]>> = {
  UnderExposurePrevention: ["Keine zu dunklen Teile im Gesicht", "Zu dunkel: mehr Licht von vorn oder länger belichten."],
  OverExposurePrevention: ["Keine überbelichteten Teile im Gesicht", "Teile des Gesichts sind rein weiß: weicheres oder weniger Licht."],
  DynamicRange: ["Genug Kontrast im Gesicht", "Das Gesicht hat kaum Kontrast: mehr Licht."],
  Sharpness: ["Schärfe", "Nicht scharf: auf die Augen scharf stellen und die Kamera ruhig halten."],
  CompressionArtifacts: ["Keine Spuren der Kompression", "Die Blöcke starker Kompression sind zu sehen: mit höherer Qualität speichern."],
  NaturalColour: ["Natürliche Hautfarbe", "Die Haut hat einen Farbstich: Tageslicht oder Weißabgleich."],
  SingleFacePresent: ["Nur ein Gesicht", "Ein weiteres Gesicht ist im Bild: allein fotografieren."],
  EyesOpen: ["Augen offen", "Die Augen wirken geschlossen: weit öffnen und in die Kamera schauen."],
  EyeOpenness: ["Augen weit offen", "Die Augen wirken geschlossen: weit öffnen und in die Kamera schauen."],
  EyesVisible: ["Augen nicht verdeckt", ""],
  MouthOcclusionPrevention: ["Mund nicht verdeckt", ""],
  FaceOcclusionPrevention: ["Gesicht nicht verdeckt", ""],
  NoHeadCoverings: ["Keine Kopfbedeckung", ""],
  InterEyeDistance: ["Gesicht mit genug Pixeln", "Das Gesicht hat zu wenig Pixel: näher heran oder eine bessere Kamera."],
  LeftwardCropOfTheFaceImage: ["Platz links", "Links im Bild ist mehr Platz nötig."],
  RightwardCropOfTheFaceImage: ["Platz rechts", "Rechts im Bild ist mehr Platz nötig."],
  MarginAboveOfTheFaceImage: ["Platz über den Augen", "Der Kopf ist oben abgeschnitten: über dem Haar Platz lassen."],
  MarginBelowOfTheFaceImage: ["Platz unter den Augen", "Das Kinn ist abgeschnitten: unten Platz lassen."],
  HeadPoseYaw: ["Kopf nicht zur Seite gedreht", "Abgewandt: gerade in die Kamera schauen, nichts vor dem Gesicht."],
  HeadPosePitch: ["Kopf weder gehoben noch gesenkt", "Das Kinn weder heben noch senken."],
  HeadPoseRoll: ["Kopf nicht geneigt", "Den Kopf gerade halten."],
  ExpressionNeutrality: ["Neutraler Ausdruck", "Nicht lächeln: das Gesicht entspannen und den Mund schließen."],
  GazeSideways: ["Blick in die Kamera", "Gerade in die Kamera schauen."],
  LipGap: ["Lippen geschlossen", "Den Mund schließen."],
  CheekLight: ["Licht von beiden Seiten", "Das Gesicht ist von einer Seite beleuchtet: auch die andere beleuchten."],
  FaceLightZones: ["Gleichmäßiges Licht im Gesicht", "Teile des Gesichts sind viel dunkler: gleichmäßiges Licht von vorn."],
  EyeWhite: ["Das Weiß der Augen zu sehen", "Die Augen liegen im Schatten: mehr Licht von vorn."],
  DarkGlasses: ["Keine dunkle Brille", "Die Augen sind nicht zu sehen: dunkle Brille abnehmen."],
  RedEyes: ["Keine roten Augen", "Rote Augen: Blitz ausschalten oder weiter vom Objektiv weg."],
  GlassesGlare: ["Keine Spiegelungen auf der Brille", "Spiegelungen um die Augen: Licht drehen oder Brille abnehmen."],
  ColourPicture: ["Farbiges Bild", "Das Foto hat keine Farbe: farbig aufnehmen."],
  BackgroundEvenness: ["Einfarbiger Hintergrund", "Der Hintergrund ist ungleichmäßig: vor eine leere Wand stellen, von ihr weg treten."],
  BackgroundShadow: ["Kein Schatten auf dem Hintergrund", "Schatten auf dem Hintergrund: von der Wand weg treten oder sie beleuchten."],
  BackgroundColour: ["Farbe des Hintergrunds", "Der Hintergrund hat nicht die Farbe, die das Dokument verlangt."],
  BackgroundLightness: ["Heller Hintergrund", "Der Hintergrund ist dunkel: eine helle Wand wählen oder beleuchten."],
  FaceCovered: ["Untere Gesichtshälfte frei", "Etwas verdeckt vielleicht das untere Gesicht, oder farbiges Licht."],
  ForeheadCovered: ["Stirn frei", "Die Stirn ist dunkel: Haar, Hut oder Schatten verdecken sie vielleicht."],
};

/** English titles that say what is asked for, where the service's own name what is measured. */
export const englishTitles: Readonly<Record<string, string>> = {
  UnderExposurePrevention: "No too dark parts in the face",
  OverExposurePrevention: "No burnt-out parts in the face",
  DynamicRange: "Enough contrast in the face",
  CompressionArtifacts: "No traces of compression",
  EyeOpenness: "Eyes wide open",
  HeadPoseYaw: "Head not turned sideways",
  HeadPosePitch: "Head neither raised nor lowered",
  HeadPoseRoll: "Head not leaning",
  InterEyeDistance: "Enough pixels in the face",
};

/** Words for the documents, by the last part of their names; where none fits, the list's own title stands. */
export const germanDocuments: Readonly<Record<string, string>> = {
  passport: "Reisepass", "passport-abroad": "Reisepass, Antrag im Ausland", "passport-child": "Reisepass, Kind",
  visa: "Visum", evisa: "Elektronisches Visum", "visa-on-arrival": "Visum bei Ankunft",
  "identity-card": "Personalausweis", "id-card": "Personalausweis", "driving-licence": "Führerschein",
  "international-driving-permit": "Internationaler Führerschein", "green-card": "Green Card",
  citizenship: "Einbürgerung", "residence-card": "Aufenthaltskarte", "hk-macau-permit": "Passierschein Hongkong und Macau",
  "marriage-certificate": "Heiratsurkunde, zwei Personen", oci: "OCI-Karte",
  "one-inch": "Ein-Zoll-Bild", "small-one-inch": "Kleines Ein-Zoll-Bild", "large-one-inch": "Großes Ein-Zoll-Bild",
  "two-inch": "Zwei-Zoll-Bild", "small-two-inch": "Kleines Zwei-Zoll-Bild", portrait: "Maschinenlesbares Reisedokument",
};

/** Remarks of the service, told by how they begin. */
export const remarkTexts: readonly (readonly [RegExp, Key])[] = [
  [/^hair (?:cannot be told|and background have)/, "remark.hair"],
  [/^given up: /, "remark.givenUp"],
  [/^white balance left/, "remark.noCast"],
  [/^JPEG quality (\d+) for the limit/, "remark.quality"],
];
